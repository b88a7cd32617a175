#include "feed/OlvNewsParser.h"

#include <QStringDecoder>

using namespace pelorinnews;

namespace {

std::vector<QString> fieldsOf(const std::optional<QVariantMap> &result) {
    std::vector<QString> fields;
    if (!result)
        return fields;
    fields.push_back(result->value(OlvNewsFeedChannelLanguageKeyName).toString());
    const auto list =
        result->value(OlvNewsFeedNewsCacheItemsKeyName).value<std::shared_ptr<OlvNewsItemList>>();
    for (const auto &item : *list)
        fields.push_back(item->description());
    return fields;
}

void require(bool holds) {
    if (!holds)
        qFatal("the parser violates one of its guarantees");
}

}  // namespace

/// Any UTF-8 text, parsed as bytes or as a decoded `QString`, gives the same result and the same
/// error.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const QByteArray body(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    Error bytesError;
    const auto fromBytes =
        OlvNewsParser(QStringLiteral("en_US")).parse(QByteArrayView(body), &bytesError);
    require(!fromBytes || fromBytes->size() == 2);

    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless |
                                                     QStringDecoder::Flag::ConvertInitialBom);
    const QString text = decoder(body);
    require(decoder.hasError() == !body.isValidUtf8());
    if (decoder.hasError() || text.isNull())
        return 0;
    Error textError;
    const auto fromText = OlvNewsParser(QStringLiteral("en_US")).parse(text, &textError);
    require(bytesError == textError);
    require(fieldsOf(fromBytes) == fieldsOf(fromText));
    return 0;
}
