#include "LocalFileRequest.h"

#include "TransportError.h"
#include "platform/RegularFile.h"

namespace pelorinnews {

NetworkOutcome readLocalFile(QUrl url, qint64 maxBody) {
    if (url.host().compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0)
        url.setHost({});
    const QString path = url.toLocalFile();
    if (!url.host().isEmpty() || path.contains(QChar(0)))
        return {std::nullopt, std::nullopt,
                transportError(TransportError::BadAddress,
                               QStringLiteral("Not a file on this computer: ") + url.toString())};
    Error error;
    std::optional<QByteArray> body = RegularFile::contents(path, maxBody, &error);
    if (!body)
        return {std::nullopt, std::nullopt, error};
    return {UrlResponse{}, std::move(body), std::nullopt};
}

}  // namespace pelorinnews
