#pragma once

#include "NetworkRequest.h"
#include "NetworkTransfer.h"
#include "platform/SteadyCondition.h"

#include <QThread>

#include <chrono>
#include <list>
#include <memory>
#include <mutex>
#include <vector>

namespace pelorinnews {

/// The thread on which a loader's transfers run. It starts with the first request. When the last
/// transfer ends, it closes all connections, releases memory a second later, and sleeps.
class NetworkThread final : public QThread {
public:
    /// `maxBody` in bytes and `maxDuration` limit each transfer (see `NetworkUrlLoader`).
    /// `beforeLibrariesAreUsed` is called twice: first on the thread that adds the first request,
    /// and then on this thread, as soon as the libraries that transfers need are loaded.
    NetworkThread(qint64 maxBody, std::chrono::milliseconds maxDuration,
                  std::function<void()> beforeLibrariesAreUsed);
    ~NetworkThread() override;

    /// Takes a request and completes it exactly once, whatever happens. Thread-safe.
    void add(NetworkRequest request);

    /// Cancels all requests, present and future, and waits until the thread has ended, at most
    /// `timeout`. True if it has ended. Idempotent; callable from any thread but this one.
    [[nodiscard]] bool stop(std::chrono::milliseconds timeout);

protected:
    void run() override;

private:
    /// Takes `request`, or leaves it unchanged and returns false.
    [[nodiscard]] bool tryAdd(NetworkRequest &request);
    /// Sleeps until there is a request. False if the thread is to end.
    [[nodiscard]] bool waitForRequests();
    /// Runs transfers until none is left or the thread is to end.
    void transfer();
    /// Starts transfers for the waiting requests. False if there are neither requests nor
    /// transfers, or the thread is to end.
    [[nodiscard]] bool startTransfers(CURLM *multi);
    void start(CURLM *multi, NetworkRequest request);
    void finishTransfers(CURLM *multi);
    void giveUpStalled(CURLM *multi);
    /// The time until the first deadline of a transfer; at least 0, at most a day.
    [[nodiscard]] std::chrono::milliseconds timeToNextDeadline() const;
    void cancelAll(CURLM *multi);

    const std::function<void()> _beforeUse;

    /// Guards `_waiting`, `_started`, `_stopping` and `_active`.
    std::mutex _mutex;
    std::vector<NetworkRequest> _waiting;
    bool _started = false;
    bool _stopping = false;
    /// The multi handle to wake while there are transfers; null otherwise.
    CURLM *_active = nullptr;
    SteadyCondition _changed;

    // Changed by the thread itself only.
    const CurlLibrary *_curl = nullptr;
    NetworkTransfer::Settings _settings;
    std::list<NetworkTransfer> _transfers;
    /// Transfers that have ended. They are destroyed after the multi handle: newer versions of
    /// libcurl close the connections only when the multi handle is cleaned up, and then call back
    /// into the transfers.
    std::list<NetworkTransfer> _ended;
};

}  // namespace pelorinnews
