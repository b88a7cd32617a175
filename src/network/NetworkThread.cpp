#include "NetworkThread.h"

#include "HostNetwork.h"
#include "LocalFileRequest.h"
#include "platform/LibraryPages.h"

#include <QCoreApplication>
#include <QDeadlineTimer>

#include <algorithm>
#include <csignal>

namespace pelorinnews {

namespace {

/// How long after the last transfer its result has usually been processed.
constexpr std::chrono::seconds rest{1};

/// Releases the memory of the libraries that a transfer, and parsing the feed afterwards, page in.
/// It is several times what the rest of this module takes, and unused for hours until the next
/// transfer.
void releaseTransferLibraries() {
    releaseLibraryPages({"libcurl",
                         "libQt6Network",
                         "libqopensslbackend",
                         "libqcertonlybackend",
                         "libssl",
                         "libcrypto",
                         "libnghttp2",
                         "libidn2",
                         "librtmp",
                         "libssh2",
                         "libpsl",
                         "libldap",
                         "liblber",
                         "libsasl2",
                         "libzstd",
                         "libbrotli",
                         "libgnutls",
                         "libnettle",
                         "libhogweed",
                         "libgmp",
                         "libp11-kit",
                         "libtasn1",
                         "libunistring",
                         "libffi",
                         "libgssapi_krb5",
                         "libkrb5",
                         "libk5crypto",
                         "libkeyutils",
                         "libcom_err",
                         "libresolv",
                         "libproxy",
                         "libicu",
                         "libpcre2-16"});
}

/// Writing to a connection that the peer has closed raises SIGPIPE, which ends the process unless
/// the writing thread blocks it.
void blockPipeSignal() {
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
}

}  // namespace

NetworkThread::NetworkThread(qint64 longestBody, std::function<void()> beforeLibrariesAreUsed)
    : beforeUse(std::move(beforeLibrariesAreUsed)) {
    settings.longestBody = longestBody;
    setObjectName(QStringLiteral("PelorinNewsLoad"));
}

NetworkThread::~NetworkThread() = default;

void NetworkThread::add(NetworkRequest request) {
    if (!takes(request))
        cancelRequest(std::move(request));
}

bool NetworkThread::takes(NetworkRequest &request) {
    if (!QCoreApplication::instance())
        return false;
    const std::lock_guard lock(mutex);
    // Starting under the lock prevents a race with `stop`; it runs no foreign code.
    if (!stopping && !started) {
        if (beforeUse)
            beforeUse();
        QThread::start();
        started = isRunning();
    }
    if (stopping || !started)
        return false;
    waiting.push_back(std::move(request));
    if (active)
        curl->multiWakeup(active);
    else
        changed.notify_one();
    return true;
}

bool NetworkThread::stop(std::chrono::milliseconds timeout) {
    {
        const std::lock_guard lock(mutex);
        stopping = true;
        if (active)
            curl->multiWakeup(active);
        else
            changed.notify_one();
    }
    if (!wait(QDeadlineTimer(timeout)))
        return false;
    const std::lock_guard lock(mutex);
    return true;
}

void NetworkThread::run() {
    blockPipeSignal();
    curl = CurlLibrary::instance();
    // Makes the libraries create their process-wide objects now, before `beforeUse` runs again.
    static_cast<void>(HostNetwork::trustedAuthorities());
    if (beforeUse)
        beforeUse();
    // Thread-safe since libcurl 7.84, and reference-counted: does not disturb a host that uses
    // libcurl, too.
    if (curl && curl->globalInit(CURL_GLOBAL_DEFAULT) != CURLE_OK)
        curl = nullptr;
    while (waitForRequests())
        transfer();
    cancelAll(nullptr);
    // Joining already synchronizes this thread with what comes after. A lock of our own makes that
    // visible to race detectors.
    const std::lock_guard lock(mutex);
}

bool NetworkThread::waitForRequests() {
    std::unique_lock lock(mutex);
    const auto somethingToDo = [this] { return stopping || !waiting.empty(); };
    if (!changed.wait_until(lock, std::chrono::system_clock::now() + rest, somethingToDo)) {
        lock.unlock();
        releaseTransferLibraries();
        lock.lock();
        changed.wait(lock, somethingToDo);
    }
    return !stopping;
}

void NetworkThread::transfer() {
    std::unique_ptr<CURLM, void (*)(CURLM *)> multi(
        curl ? curl->multiInit() : nullptr,
        [](CURLM *handle) { CurlLibrary::instance()->multiCleanup(handle); });
    settings.trustedAuthorities = HostNetwork::trustedAuthorities();
    {
        const std::lock_guard lock(mutex);
        active = multi.get();
    }
    while (startTransfers(multi.get())) {
        if (transfers.empty())
            continue;
        int running = 0;
        curl->multiPerform(multi.get(), &running);
        finishTransfers(multi.get());
        giveUpStalled(multi.get());
        if (!transfers.empty())
            curl->multiPoll(multi.get(), nullptr, 0, millisecondsToNextDeadline(), nullptr);
    }
    cancelAll(multi.get());
    multi.reset();
    ended.clear();
    settings.trustedAuthorities = {};
}

bool NetworkThread::startTransfers(CURLM *multi) {
    std::vector<NetworkRequest> taken;
    {
        const std::lock_guard lock(mutex);
        if (stopping || (waiting.empty() && transfers.empty())) {
            // From here on nobody may wake the multi handle: it is about to be destroyed.
            active = nullptr;
            return false;
        }
        taken.swap(waiting);
    }
    for (NetworkRequest &request : taken)
        start(multi, std::move(request));
    return true;
}

void NetworkThread::start(CURLM *multi, NetworkRequest request) {
    if (request.url.isLocalFile()) {
        NetworkOutcome outcome = readLocalFile(request.url, settings.longestBody);
        completeRequest(std::move(request), std::move(outcome));
        return;
    }
    if (!multi) {
        completeRequest(std::move(request),
                        {std::nullopt, std::nullopt,
                         transportError(TransportError::Other,
                                        QStringLiteral("libcurl cannot be loaded or started"))});
        return;
    }
    NetworkTransfer &added = transfers.emplace_back(*curl, std::move(request), settings);
    if (added.hasFailed() || curl->multiAddHandle(multi, added.handle()) != CURLM_OK) {
        static_cast<void>(added.goesOnAfter(CURLE_FAILED_INIT));
        transfers.pop_back();
    }
}

void NetworkThread::finishTransfers(CURLM *multi) {
    int left = 0;
    while (const CURLMsg *message = curl->multiInfoRead(multi, &left)) {
        CURL *handle = message->easy_handle;
        const CURLcode result = message->data.result;
        curl->multiRemoveHandle(multi, handle);
        const auto transfer = std::find_if(transfers.begin(), transfers.end(),
                                           [&](const auto &one) { return one.handle() == handle; });
        bool goesOn = transfer->goesOnAfter(result);
        if (goesOn && curl->multiAddHandle(multi, handle) != CURLM_OK)
            goesOn = transfer->goesOnAfter(CURLE_FAILED_INIT);
        if (!goesOn)
            ended.splice(ended.end(), transfers, transfer);
    }
}

void NetworkThread::giveUpStalled(CURLM *multi) {
    const auto now = NetworkTransfer::Clock::now();
    for (auto next = transfers.begin(); next != transfers.end();) {
        const auto transfer = next++;
        if (transfer->deadline() > now || transfer->postponesDeadline())
            continue;
        curl->multiRemoveHandle(multi, transfer->handle());
        transfer->timeOut();
        ended.splice(ended.end(), transfers, transfer);
    }
}

int NetworkThread::millisecondsToNextDeadline() const {
    auto first = NetworkTransfer::Clock::time_point::max();
    for (const NetworkTransfer &transfer : transfers)
        first = std::min(first, transfer.deadline());
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(first - NetworkTransfer::Clock::now());
    return static_cast<int>(std::clamp<qint64>(left.count(), 0, 24 * 60 * 60 * 1000));
}

void NetworkThread::cancelAll(CURLM *multi) {
    for (NetworkTransfer &transfer : transfers) {
        curl->multiRemoveHandle(multi, transfer.handle());
        transfer.cancel();
    }
    ended.splice(ended.end(), transfers);
    std::vector<NetworkRequest> taken;
    {
        const std::lock_guard lock(mutex);
        if (!stopping)
            return;
        taken.swap(waiting);
    }
    for (NetworkRequest &request : taken)
        cancelRequest(std::move(request));
}

}  // namespace pelorinnews
