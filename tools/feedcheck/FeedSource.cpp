#include "FeedSource.h"

#include "feed/FeedDownload.h"
#include "feed/OlvNewsCache.h"
#include "network/NetworkUrlLoader.h"
#include "network/UrlLoader.h"

#include <QFile>
#include <QRegularExpression>
#include <QUrl>

#include <cstdio>
#include <future>
#include <memory>

namespace pelorinnews {

namespace {

Error fileError(QFileDevice::FileError code, const QString &reason) {
    return {QStringLiteral("QFileDevice"), code, {{Error::localizedDescriptionKey(), reason}}};
}

/// Whether `argument` is an address of a kind that the panel does not read, such as "ftp://h/".
bool isOtherAddress(const QString &argument) {
    static const QRegularExpression form(QStringLiteral("^[A-Za-z][A-Za-z0-9+.-]*://"));
    return form.match(argument).hasMatch();
}

bool isAddress(const QString &argument) {
    for (const char *scheme : {"http://", "https://", "file:"}) {
        if (argument.startsWith(QLatin1String(scheme), Qt::CaseInsensitive))
            return true;
    }
    return false;
}

/// Reads to the end, from pipes and devices too; fails for more bytes than a feed may have.
void readDevice(QFile &file, FeedSource &source) {
    constexpr qint64 pieceSize = qint64(1) << 20;
    constexpr qint64 maxBytes = NetworkUrlLoader::defaultMaxBody;
    QByteArray bytes;
    while (true) {
        const QByteArray piece = file.read(pieceSize);
        if (piece.isEmpty())
            break;
        bytes += piece;
        if (bytes.size() > maxBytes) {
            source.error =
                fileError(QFileDevice::ResourceError, QStringLiteral("More than any feed holds"));
            return;
        }
    }
    if (file.error() != QFileDevice::NoError)
        source.error = fileError(file.error(), file.errorString());
    else
        source.body = bytes;
}

FeedSource readStandardInput() {
    FeedSource source{QStringLiteral("standard input"), {}, 0, {}};
    QFile file;
    if (file.open(stdin, QIODevice::ReadOnly))
        readDevice(file, source);
    else
        source.error = fileError(file.error(), file.errorString());
    return source;
}

FeedSource readFile(const QString &path) {
    FeedSource source{path, {}, 0, {}};
    QFile file(path);
    if (file.open(QIODevice::ReadOnly))
        readDevice(file, source);
    else
        source.error = fileError(file.error(), file.errorString());
    return source;
}

FeedSource fetch(const QString &argument, const QString &language) {
    const QString address =
        argument.contains(QLatin1Char('?'))
            ? argument
            : FeedDownload::address(argument, language, QStringLiteral("standard"));
    FeedSource source{address, {}, 0, {}};
    // Shared with the completion callback, which may still be inside the call that wakes this
    // thread.
    const auto fetched = std::make_shared<std::promise<void>>();
    UrlLoader::shared()->sendAsynchronousRequest(
        QUrl(address, QUrl::TolerantMode), OlvNewsCache::requestTimeout, nullptr,
        [&source, fetched](const std::optional<UrlResponse> &response,
                           std::optional<QByteArray> data,
                           const std::optional<Error> &connectionError) {
            source.status = response ? response->statusCode.value_or(0) : 0;
            source.error = FeedDownload::downloadError(response, data, connectionError);
            if (!source.error)
                source.body = std::move(data);
            fetched->set_value();
        });
    fetched->get_future().wait();
    return source;
}

}  // namespace

bool isFile(const QString &argument) {
    return argument != QLatin1String("-") && !isAddress(argument);
}

FeedSource readFeed(const QString &argument, const QString &language) {
    if (argument == u"-")
        return readStandardInput();
    if (isAddress(argument))
        return fetch(argument, language);
    FeedSource source = readFile(argument);
    if (source.error && isOtherAddress(argument))
        source.error = fileError(QFileDevice::OpenError,
                                 QStringLiteral("The panel reads http: and https: addresses only"));
    return source;
}

}  // namespace pelorinnews
