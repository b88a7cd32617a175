#include "OlvNewsParser.h"

#include <QXmlStreamReader>

namespace pelorinnews {

std::optional<QVariantMap> OlvNewsParser::parse(const QString &text, Error *error) {
    QXmlStreamReader reader(text);
    QString language;
    auto items = std::make_shared<OlvNewsItemList>();
    std::shared_ptr<OlvNewsCacheItem> item;
    while (!reader.atEnd()) {
        const auto token = reader.readNext();
        if (token == QXmlStreamReader::EndElement && reader.name() == QLatin1String("item")) {
            items->push_back(std::exchange(item, nullptr));
        }
        if (token != QXmlStreamReader::StartElement)
            continue;
        if (reader.name() == QLatin1String("item"))
            item = std::make_shared<OlvNewsCacheItem>();
        else if (reader.name() == QLatin1String("language"))
            language = reader.readElementText();
        else if (!item)
            continue;
        else if (reader.name() == QLatin1String("title"))
            item->setTitle(reader.readElementText());
        else if (reader.name() == QLatin1String("category"))
            item->setCategory(reader.readElementText());
        else if (reader.name() == QLatin1String("description"))
            item->setHtmlContent(reader.readElementText());
        else if (reader.name() == QLatin1String("pubDate"))
            item->setDate(QDateTime::fromString(reader.readElementText(), Qt::RFC2822Date));
    }
    if (reader.hasError() && error != nullptr)
        *error = {QStringLiteral("XML"), int(reader.error()), {}};
    if (language.isNull())
        return std::nullopt;
    return QVariantMap{{OlvNewsFeedChannelLanguageKeyName, language},
                       {OlvNewsFeedNewsCacheItemsKeyName, QVariant::fromValue(items)}};
}

}  // namespace pelorinnews
