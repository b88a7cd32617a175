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

/// This long after the last transfer, its result has usually been processed.
constexpr std::chrono::seconds rest{1};

/// Releases the library pages that a transfer loads, and that parsing the feed loads after it. They
/// take several times the memory of the rest of this module, and are unused for hours until the
/// next transfer.
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

NetworkThread::NetworkThread(qint64 maxBody, std::chrono::milliseconds maxDuration,
                             std::function<void()> beforeLibrariesAreUsed)
    : _beforeUse(std::move(beforeLibrariesAreUsed)) {
    _settings.maxBody = maxBody;
    _settings.maxDuration = maxDuration;
    setObjectName(QStringLiteral("PelorinNewsLoad"));
}

NetworkThread::~NetworkThread() = default;

void NetworkThread::add(NetworkRequest request) {
    if (!tryAdd(request))
        cancelRequest(std::move(request));
}

bool NetworkThread::tryAdd(NetworkRequest &request) {
    if (!QCoreApplication::instance())
        return false;
    const std::lock_guard lock(_mutex);
    // Start under the lock, so that `stop` cannot run in between.
    if (!_stopping && !_started) {
        if (_beforeUse)
            _beforeUse();
        QThread::start();
        _started = isRunning();
    }
    if (_stopping || !_started)
        return false;
    _waiting.push_back(std::move(request));
    if (_active)
        _curl->multiWakeup(_active);
    else
        _changed.notifyOne();
    return true;
}

bool NetworkThread::stop(std::chrono::milliseconds timeout) {
    {
        const std::lock_guard lock(_mutex);
        _stopping = true;
        if (_active)
            _curl->multiWakeup(_active);
        else
            _changed.notifyOne();
    }
    if (!wait(QDeadlineTimer(timeout)))
        return false;
    const std::lock_guard lock(_mutex);
    return true;
}

void NetworkThread::run() {
    blockPipeSignal();
    _curl = CurlLibrary::instance();
    // Makes the libraries create their process-wide objects now, so that the exit handlers which
    // destroy them are registered before `_beforeUse` runs.
    static_cast<void>(HostNetwork::trustedAuthorities());
    if (_beforeUse)
        _beforeUse();
    // `curl_global_init` is thread-safe since libcurl 7.84, and reference-counted: it does not
    // disturb a host that uses libcurl, too.
    if (_curl && _curl->globalInit(CURL_GLOBAL_DEFAULT) != CURLE_OK)
        _curl = nullptr;
    while (waitForRequests())
        transfer();
    cancelAll(nullptr);
    // Joining already synchronizes this thread with the one that joins it. Locking our own mutex
    // makes that visible to race detectors.
    const std::lock_guard lock(_mutex);
}

bool NetworkThread::waitForRequests() {
    std::unique_lock lock(_mutex);
    const auto somethingToDo = [this] { return _stopping || !_waiting.empty(); };
    if (!_changed.waitFor(lock, rest, somethingToDo)) {
        lock.unlock();
        releaseTransferLibraries();
        lock.lock();
        _changed.wait(lock, somethingToDo);
    }
    return !_stopping;
}

void NetworkThread::transfer() {
    std::unique_ptr<CURLM, void (*)(CURLM *)> multi(
        _curl ? _curl->multiInit() : nullptr,
        [](CURLM *handle) { CurlLibrary::instance()->multiCleanup(handle); });
    _settings.trustedAuthorities = HostNetwork::trustedAuthorities();
    {
        const std::lock_guard lock(_mutex);
        _active = multi.get();
    }
    while (startTransfers(multi.get())) {
        if (_transfers.empty())
            continue;
        int running = 0;
        _curl->multiPerform(multi.get(), &running);
        finishTransfers(multi.get());
        giveUpStalled(multi.get());
        if (!_transfers.empty())
            _curl->multiPoll(multi.get(), nullptr, 0,
                             static_cast<int>(timeToNextDeadline().count()), nullptr);
    }
    cancelAll(multi.get());
    multi.reset();
    _ended.clear();
    _settings.trustedAuthorities = {};
}

bool NetworkThread::startTransfers(CURLM *multi) {
    std::vector<NetworkRequest> taken;
    {
        const std::lock_guard lock(_mutex);
        if (_stopping || (_waiting.empty() && _transfers.empty())) {
            // From here on nobody may wake the multi handle: it is about to be destroyed.
            _active = nullptr;
            return false;
        }
        taken.swap(_waiting);
    }
    for (NetworkRequest &request : taken)
        start(multi, std::move(request));
    return true;
}

void NetworkThread::start(CURLM *multi, NetworkRequest request) {
    if (request.url.isLocalFile()) {
        NetworkOutcome outcome = readLocalFile(request.url, _settings.maxBody);
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
    NetworkTransfer &added = _transfers.emplace_back(*_curl, std::move(request), _settings);
    if (added.hasFailed() || _curl->multiAddHandle(multi, added.handle()) != CURLM_OK) {
        static_cast<void>(added.finishOrFollowRedirect(CURLE_FAILED_INIT));
        _transfers.pop_back();
    }
}

void NetworkThread::finishTransfers(CURLM *multi) {
    int left = 0;
    while (const CURLMsg *message = _curl->multiInfoRead(multi, &left)) {
        CURL *handle = message->easy_handle;
        const CURLcode result = message->data.result;
        _curl->multiRemoveHandle(multi, handle);
        const auto transfer = std::find_if(_transfers.begin(), _transfers.end(),
                                           [&](const auto &one) { return one.handle() == handle; });
        bool goesOn = transfer->finishOrFollowRedirect(result);
        if (goesOn && _curl->multiAddHandle(multi, handle) != CURLM_OK)
            goesOn = transfer->finishOrFollowRedirect(CURLE_FAILED_INIT);
        if (!goesOn)
            _ended.splice(_ended.end(), _transfers, transfer);
    }
}

void NetworkThread::giveUpStalled(CURLM *multi) {
    const auto now = NetworkTransfer::Clock::now();
    for (auto next = _transfers.begin(); next != _transfers.end();) {
        const auto transfer = next++;
        if (transfer->deadline() > now || transfer->postponesDeadline())
            continue;
        _curl->multiRemoveHandle(multi, transfer->handle());
        transfer->timeOut();
        _ended.splice(_ended.end(), _transfers, transfer);
    }
}

std::chrono::milliseconds NetworkThread::timeToNextDeadline() const {
    auto first = NetworkTransfer::Clock::time_point::max();
    for (const NetworkTransfer &transfer : _transfers)
        first = std::min(first, transfer.deadline());
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(first - NetworkTransfer::Clock::now());
    return std::clamp<std::chrono::milliseconds>(left, std::chrono::milliseconds(0),
                                                 std::chrono::hours(24));
}

void NetworkThread::cancelAll(CURLM *multi) {
    for (NetworkTransfer &transfer : _transfers) {
        _curl->multiRemoveHandle(multi, transfer.handle());
        transfer.cancel();
    }
    _ended.splice(_ended.end(), _transfers);
    std::vector<NetworkRequest> taken;
    {
        const std::lock_guard lock(_mutex);
        if (!_stopping)
            return;
        taken.swap(_waiting);
    }
    for (NetworkRequest &request : taken)
        cancelRequest(std::move(request));
}

}  // namespace pelorinnews
