#include "FeedExchange.h"

#include <QStringDecoder>

namespace pelorinnews::FeedExchange {

QString address(const QString &base, const QString &locale, const QString &type) {
    if (base.endsWith(QLatin1String(".xml")))
        return base;
    QString whole = base + QLatin1Char('?');
    if (!locale.isEmpty())
        whole += QLatin1String("&locale=") + locale;
    if (!type.isEmpty())
        whole += QLatin1String("&type=") + type;
    return whole;
}

QString text(const QByteArray &body) {
    // A decoder with state would hold back the bytes of a cut last character without a word.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless |
                                                     QStringDecoder::Flag::ConvertInitialBom);
    QString decoded = decoder.decode(body);
    if (decoder.hasError())
        return {};
    return decoded.isNull() ? QStringLiteral("") : decoded;
}

}  // namespace pelorinnews::FeedExchange
