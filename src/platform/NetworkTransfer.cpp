#include "NetworkTransfer.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace pelorinnews {

namespace {

/// How far a claimed length is believed before the bytes come.
constexpr qint64 longestReserve = qint64(64) * 1024 * 1024;

/// How much Qt reads ahead of us. Without a bound it goes on reading as long as bytes are there,
/// and hears of nothing else meanwhile: a sender that is fast and never ends would fill the memory
/// while our giving up waits behind it.
constexpr int longestReadAhead = 4 * 1024 * 1024;

/// How long a piece waits for others to come with it. Qt tells of every 4 KB by itself; waking for
/// each would cost a feed of 3 MB a sixth more processor.
constexpr auto pieceDelay = std::chrono::milliseconds(1);

QNetworkRequest networkRequest(const NetworkRequest &request) {
    constexpr int longestTimeout = 24 * 60 * 60;
    QNetworkRequest network(request.url);
    network.setTransferTimeout(std::clamp(request.idleTimeoutSeconds, 1, longestTimeout) * 1000);
    // One short GET in hours gains nothing from HTTP/2, and what ends early is told more plainly
    // by HTTP/1.1.
    network.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    // Qt checks no length of a body that it decompresses, so a cut one would pass for whole.
    network.setRawHeader("Accept-Encoding", "identity");
    // A body of no more than that whose length is told comes in one buffer, not as a list of
    // pieces, which saves a tenth of a refresh. It is Qt's own affair: a Qt that does not know it
    // does without.
    network.setAttribute(QNetworkRequest::MaximumDownloadBufferSizeAttribute, longestReadAhead);
    network.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    network.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    network.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    return network;
}

/// The error of an answer that Qt calls whole and that is not; absent where it is. Qt lets a body
/// shorter than its claimed length pass when the connection's end overtakes the bytes.
std::optional<Error> unmetPromise(const QNetworkReply &reply, int status, qint64 received) {
    const QByteArray encoding = reply.rawHeader("Content-Encoding");
    if (!encoding.isEmpty() && encoding.compare("identity", Qt::CaseInsensitive) != 0)
        return networkError(QNetworkReply::ProtocolFailure,
                            QStringLiteral("The body is encoded as ") +
                                QString::fromLatin1(encoding) + QStringLiteral(", unasked"));
    const bool hasBody = status != 204 && status != 304;
    if (hasBody && reply.rawHeader("Content-Length").toLongLong() > received)
        return networkError(QNetworkReply::RemoteHostClosedError,
                            QStringLiteral("The connection closed before the body's end"));
    return std::nullopt;
}

/// Whether `error` is what a finished answer's status was made into, not a failure of its own.
bool onlyTellsStatus(QNetworkReply::NetworkError error) {
    constexpr int firstContentError = 200;
    return error == QNetworkReply::NoError || error > firstContentError ||
           error == QNetworkReply::ProxyAuthenticationRequiredError;
}

}  // namespace

NetworkTransfer::NetworkTransfer(NetworkRequest sending, QNetworkAccessManager &manager,
                                 qint64 longest, std::function<void()> whenEnded)
    : request(std::move(sending)),
      longestBody(longest),
      onEnd(std::move(whenEnded)),
      reply(manager.get(networkRequest(request))) {
    reply->setReadBufferSize(longestReadAhead);
    // Qt forgets it with every redirect. Queued: in the signal, the next request is not there yet.
    connect(
        reply.get(), &QNetworkReply::redirected, reply.get(),
        [all = reply.get()] { all->setReadBufferSize(longestReadAhead); }, Qt::QueuedConnection);
    connect(reply.get(), &QIODevice::readyRead, this, [this] {
        gather();
        std::this_thread::sleep_for(pieceDelay);
    });
    connect(reply.get(), &QNetworkReply::finished, this, &NetworkTransfer::finish);
}

NetworkTransfer::~NetworkTransfer() {
    reply->disconnect(this);
}

void NetworkTransfer::cancel() {
    if (ended)
        return;
    ended = true;
    reply->disconnect(this);
    reply->abort();
    cancelRequest(std::move(request));
}

void NetworkTransfer::gather() {
    const qint64 available = reply->bytesAvailable();
    if (tooLong || available <= 0)
        return;
    if (available > longestBody - body.size()) {
        tooLong = true;
        body = QByteArray();
        reply->abort();
        return;
    }
    if (body.isEmpty()) {
        const qint64 claimed = reply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
        body.reserve(std::clamp(claimed, available, std::max(available, longestReserve)));
    }
    // Read in place: a piece of its own for each read would double a large body's memory.
    const qsizetype had = body.size();
    body.resize(had + available);
    const qint64 got = reply->read(body.data() + had, available);
    body.truncate(had + std::max(got, qint64(0)));
}

void NetworkTransfer::finish() {
    if (ended)
        return;
    gather();
    ended = true;
    NetworkOutcome result = outcome();
    completeRequest(std::move(request), std::move(result));
    onEnd();
}

NetworkOutcome NetworkTransfer::outcome() {
    // Qt gives a file a status of its own making.
    const QVariant statusOfHttp = reply->url().isLocalFile()
                                      ? QVariant()
                                      : reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    const int status = statusOfHttp.toInt();
    NetworkOutcome result;
    result.connectionError = transportError(status);
    if (statusOfHttp.isValid())
        result.response = UrlResponse{status};
    else if (!result.connectionError)
        result.response = UrlResponse{};
    if (!result.connectionError || status >= 400)
        result.data = std::move(body);
    return result;
}

std::optional<Error> NetworkTransfer::transportError(int status) const {
    if (tooLong)
        return networkError(QNetworkReply::UnknownContentError,
                            QStringLiteral("The body is longer than %1 bytes").arg(longestBody));
    // Nobody else aborts a transfer that is not cancelled.
    if (reply->error() == QNetworkReply::OperationCanceledError)
        return networkError(
            QNetworkReply::TimeoutError,
            QStringLiteral("No progress for %1 seconds").arg(request.idleTimeoutSeconds));
    const bool cameWhole =
        status >= 400 ? onlyTellsStatus(reply->error()) : reply->error() == QNetworkReply::NoError;
    if (!cameWhole)
        return networkError(reply->error(), reply->errorString());
    return unmetPromise(*reply, status, body.size());
}

}  // namespace pelorinnews
