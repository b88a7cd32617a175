#include "NetworkTransfer.h"

#include <algorithm>

namespace pelorinnews {

namespace {

/// How far a claimed length is believed before the bytes come.
constexpr qint64 longestReserve = qint64(64) * 1024 * 1024;

QNetworkRequest networkRequest(const NetworkRequest &request) {
    constexpr int longestTimeout = 24 * 60 * 60;
    QNetworkRequest network(request.url);
    network.setTransferTimeout(std::clamp(request.idleTimeoutSeconds, 1, longestTimeout) * 1000);
    // One short GET in hours gains nothing from HTTP/2, and what ends early is told more plainly
    // by HTTP/1.1.
    network.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    network.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    network.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    network.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    return network;
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
    connect(reply.get(), &QIODevice::readyRead, this, &NetworkTransfer::gather);
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
    NetworkOutcome result;
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    const bool failed = tooLong || reply->error() != QNetworkReply::NoError;
    if (status.isValid())
        result.response = UrlResponse{status.toInt()};
    else if (!failed)
        result.response = UrlResponse{};

    if (status.toInt() >= 400) {
        result.data = std::move(body);
        if (tooLong || !onlyTellsStatus(reply->error()))
            result.connectionError = transportError();
    } else if (failed) {
        result.connectionError = transportError();
    } else {
        result.data = std::move(body);
    }
    return result;
}

Error NetworkTransfer::transportError() const {
    if (tooLong)
        return networkError(QNetworkReply::UnknownContentError,
                            QStringLiteral("The body is longer than %1 bytes").arg(longestBody));
    // Nobody else aborts a transfer that is not cancelled.
    if (reply->error() == QNetworkReply::OperationCanceledError)
        return networkError(
            QNetworkReply::TimeoutError,
            QStringLiteral("No progress for %1 seconds").arg(request.idleTimeoutSeconds));
    return networkError(reply->error(), reply->errorString());
}

}  // namespace pelorinnews
