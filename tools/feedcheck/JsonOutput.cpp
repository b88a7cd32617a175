#include "JsonOutput.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>

namespace pelorinnews {

namespace {

QJsonValue textOrNull(const QString &text) {
    return text.isNull() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
}

QByteArray compact(const QJsonObject &object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

/// A QJsonDocument must be an array or an object, so wrap the value in an array and strip the
/// brackets.
QByteArray compact(const QJsonValue &value) {
    const QByteArray array = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return array.sliced(1, array.size() - 2);
}

QJsonObject itemObject(const OlvNewsCacheItem &item) {
    return {
        {QStringLiteral("title"), textOrNull(item.title())},
        {QStringLiteral("date"), textOrNull(isoDate(item.date()))},
        {QStringLiteral("category"), textOrNull(item.category())},
        {QStringLiteral("plainTextContent"), textOrNull(item.plainTextContent())},
        {QStringLiteral("htmlContent"), textOrNull(item.htmlContent())},
    };
}

}  // namespace

QString errorText(const Error &error) {
    const QString text =
        printableText(error.userInfo.value(Error::localizedDescriptionKey()).toString());
    return text.isEmpty() ? error.description() : text;
}

QString isoDate(const QDateTime &date) {
    if (!date.isValid())
        return {};
    const QDateTime utc = date.toUTC();
    const int year = utc.date().year();
    constexpr int lastOfFourDigits = 9999;
    if (year >= 0 && year <= lastOfFourDigits)
        return utc.toString(Qt::ISODate);
    return (year < 0 ? QLatin1Char('-') : QLatin1Char('+')) +
           QStringLiteral("%1").arg(qAbs(year), 6, 10, QLatin1Char('0')) +
           utc.toString(QStringLiteral("-MM-ddTHH:mm:ssZ"));
}

QByteArray jsonOutput(const QString &language, const OlvNewsItemList &items,
                      const std::optional<Error> &error) {
    QByteArray json = "{\"language\": " + compact(textOrNull(language)) + ",\n\"items\": [";
    const char *separator = "\n";
    for (const std::shared_ptr<OlvNewsCacheItem> &item : items) {
        json += separator + compact(itemObject(*item));
        separator = ",\n";
    }
    json += "],\n\"error\": ";
    json += error ? compact(QJsonObject{{QStringLiteral("domain"), error->domain},
                                        {QStringLiteral("code"), error->code},
                                        {QStringLiteral("description"), errorText(*error)}})
                  : QByteArray("null");
    return json + "}\n";
}

}  // namespace pelorinnews
