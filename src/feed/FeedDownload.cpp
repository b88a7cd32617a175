#include "FeedDownload.h"

#include <QStringDecoder>

namespace pelorinnews::FeedDownload {

namespace {

constexpr int lowestFailureStatus = 400;
constexpr int neitherDataNorError = -4;

}  // namespace

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
    // A stateful decoder would silently hold back the bytes of a truncated last character.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless |
                                                     QStringDecoder::Flag::ConvertInitialBom);
    QString decoded = decoder.decode(body);
    if (decoder.hasError())
        return {};
    return decoded.isNull() ? QStringLiteral("") : decoded;
}

QString errorDomain() {
    return QStringLiteral("com.Olvane.PelorinNews.NewsCache.ErrorDomain");
}

std::optional<Error> downloadError(const std::optional<UrlResponse> &response,
                                   const std::optional<QByteArray> &data,
                                   const std::optional<Error> &connectionError) {
    const int status = response ? response->statusCode.value_or(0) : 0;
    if (status >= lowestFailureStatus)
        return Error{QStringLiteral("HTTP Property Status Code"), status, {}};
    if (connectionError || data)
        return connectionError;
    return Error{errorDomain(), neitherDataNorError, {}};
}

}  // namespace pelorinnews::FeedDownload
