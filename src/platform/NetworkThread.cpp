#include "NetworkThread.h"

#include "LibraryPages.h"
#include "NetworkTransfer.h"

#include <QBasicTimer>
#include <QCoreApplication>
#include <QEvent>
#include <QFileInfo>
#include <QNetworkReply>

namespace pelorinnews {

namespace {

/// How long after the last transfer what came of it has surely been dealt with, mostly.
constexpr int restMilliseconds = 1000;

/// What a transfer, and the reading of the feed that it brings, bring into memory: several times
/// what all else of this module takes, to lie there unused until the next one in hours.
void releaseTransferLibraries() {
    releaseLibraryPages({"libQt6Network", "libqopensslbackend", "libqcertonlybackend", "libssl",
                         "libcrypto", "libgssapi_krb5", "libkrb5", "libk5crypto", "libkeyutils",
                         "libcom_err", "libresolv", "libproxy", "libicu", "libpcre2-16"});
}

/// Why an address is not to be asked for at all. Opening a pipe waits for its other end, and that
/// would hold up every transfer.
std::optional<Error> refusal(QUrl url) {
    if (!url.isLocalFile())
        return std::nullopt;
    // "localhost" is the only host that Qt takes a file from.
    url.setHost({});
    const QFileInfo info(url.toLocalFile());
    if (info.isFile() || !info.exists())
        return std::nullopt;
    return networkError(QNetworkReply::ContentOperationNotPermittedError,
                        QStringLiteral("Not a regular file: ") + info.filePath());
}

}  // namespace

class NetworkThread::Bell final : public QObject {
public:
    explicit Bell(NetworkThread &owner) : thread(owner) {}

    void ring() { QCoreApplication::postEvent(this, new QEvent(QEvent::User)); }

    bool event(QEvent *event) override {
        if (event->type() != QEvent::User)
            return QObject::event(event);
        thread.startTransfers();
        thread.dropFinished();
        if (thread.transfers.empty())
            rest.start(restMilliseconds, this);
        else
            rest.stop();
        return true;
    }

    void stopResting() { rest.stop(); }

protected:
    void timerEvent(QTimerEvent *) override {
        rest.stop();
        // With the manager go its connections, their timers and its inner thread. Not before: the
        // thread has to hear first that a transfer was given up, or what it holds of it is lost.
        thread.manager.reset();
        releaseTransferLibraries();
    }

private:
    NetworkThread &thread;
    QBasicTimer rest;
};

NetworkThread::NetworkThread(qint64 longest)
    : longestBody(longest), bell(std::make_unique<Bell>(*this)) {
    setObjectName(QStringLiteral("PelorinNewsLoad"));
    bell->moveToThread(this);
}

NetworkThread::~NetworkThread() = default;

void NetworkThread::add(NetworkRequest request) {
    if (takes(request))
        bell->ring();
    else
        cancelRequest(std::move(request));
}

bool NetworkThread::takes(NetworkRequest &request) {
    if (!QCoreApplication::instance())
        return false;
    const std::lock_guard lock(mutex);
    // Starting under the lock keeps a stop from slipping in between; it runs no code of others.
    if (!stopping && !started) {
        start();
        started = isRunning();
    }
    if (stopping || !started)
        return false;
    waiting.push_back(std::move(request));
    return true;
}

bool NetworkThread::stop(std::chrono::milliseconds timeout) {
    {
        const std::lock_guard lock(mutex);
        stopping = true;
    }
    quit();
    if (!wait(QDeadlineTimer(timeout)))
        return false;
    const std::lock_guard lock(mutex);
    return true;
}

void NetworkThread::run() {
    exec();
    bell->stopResting();
    cancelAll();
    // Joining orders what was done here before what comes after; a lock of our own also shows that
    // order to race detectors.
    const std::lock_guard lock(mutex);
}

void NetworkThread::startTransfers() {
    for (NetworkRequest &request : takeWaiting()) {
        if (const auto refused = refusal(request.url)) {
            completeRequest(std::move(request), {std::nullopt, std::nullopt, refused});
            continue;
        }
        // One that still waits for its end has connections of what was trusted before.
        if (transfers.empty()) {
            manager = std::make_unique<QNetworkAccessManager>();
            manager->setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
        }
        transfers.push_back(std::make_unique<NetworkTransfer>(
            std::move(request), *manager, longestBody, [this] { bell->ring(); }));
    }
}

void NetworkThread::dropFinished() {
    transfers.remove_if([](const auto &transfer) { return transfer->hasEnded(); });
}

void NetworkThread::cancelAll() {
    for (NetworkRequest &request : takeWaiting())
        cancelRequest(std::move(request));
    for (const auto &transfer : transfers)
        transfer->cancel();
    transfers.clear();
    manager.reset();
}

std::vector<NetworkRequest> NetworkThread::takeWaiting() {
    const std::lock_guard lock(mutex);
    return std::exchange(waiting, {});
}

}  // namespace pelorinnews
