#pragma once

#include "NetworkRequest.h"
#include "NetworkTransfer.h"

#include <QThread>

#include <chrono>
#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <vector>

namespace pelorinnews {

/// The thread on which a loader's transfers run. It starts with the first request. When the last
/// transfer ends it closes all connections, gives memory back a second later, and sleeps.
class NetworkThread final : public QThread {
public:
    /// `beforeLibrariesAreUsed` is called by whoever starts the thread, and on the thread once more
    /// when the libraries that it uses have been loaded.
    NetworkThread(qint64 longestBody, std::function<void()> beforeLibrariesAreUsed);
    ~NetworkThread() override;

    /// Takes a request, which is completed exactly once whatever happens. Callable from any thread.
    void add(NetworkRequest request);

    /// Cancels all requests, present and future, and waits until the thread has ended, at most
    /// `timeout`; says whether it has. Callable from any thread but this, also twice.
    [[nodiscard]] bool stop(std::chrono::milliseconds timeout);

protected:
    void run() override;

private:
    /// Takes `request` up, or leaves it as it is and gives false.
    [[nodiscard]] bool takes(NetworkRequest &request);
    /// Sleeps until there is something to do; false when that is to end.
    [[nodiscard]] bool waitForRequests();
    /// Transfers until nothing is left to transfer, or the thread is to end.
    void transfer();
    /// Makes transfers of what waits; false when there are none at all, or they are to end.
    [[nodiscard]] bool startTransfers(CURLM *multi);
    void start(CURLM *multi, NetworkRequest request);
    void finishTransfers(CURLM *multi);
    void giveUpStalled(CURLM *multi);
    [[nodiscard]] int millisecondsToNextDeadline() const;
    void cancelAll(CURLM *multi);

    const std::function<void()> beforeUse;

    /// Guards the four below.
    std::mutex mutex;
    std::vector<NetworkRequest> waiting;
    bool started = false;
    bool stopping = false;
    /// What to wake while there are transfers; null otherwise.
    CURLM *active = nullptr;
    std::condition_variable changed;

    // Of the thread itself.
    const CurlLibrary *curl = nullptr;
    NetworkTransfer::Settings settings;
    std::list<NetworkTransfer> transfers;
    /// Those that have ended, to be destroyed after the multi handle: libcurl may close their
    /// connections as late as that, and newer versions do, and tells the transfers of it.
    std::list<NetworkTransfer> ended;
};

}  // namespace pelorinnews
