#pragma once

#include "NetworkRequest.h"

#include <QNetworkAccessManager>
#include <QThread>

#include <chrono>
#include <list>
#include <memory>
#include <mutex>
#include <vector>

namespace pelorinnews {

class NetworkTransfer;

/// The thread on which a loader's transfers run. It starts with the first request; from a second
/// after the last transfer on it holds no connection and no timer.
class NetworkThread final : public QThread {
public:
    explicit NetworkThread(qint64 longestBody);
    ~NetworkThread() override;

    /// Takes a request, which is completed exactly once whatever happens. Callable from any thread.
    void add(NetworkRequest request);

    /// Cancels all requests, present and future, and waits until the thread has ended, at most
    /// `timeout`; says whether it has. Callable from any thread but this, also twice.
    [[nodiscard]] bool stop(std::chrono::milliseconds timeout);

protected:
    void run() override;

private:
    /// Wakes the thread's event loop; its events carry nothing.
    class Bell;

    /// Takes `request` up, or leaves it as it is and gives false.
    [[nodiscard]] bool takes(NetworkRequest &request);
    void startTransfers();
    void dropFinished();
    void cancelAll();
    [[nodiscard]] std::vector<NetworkRequest> takeWaiting();

    const qint64 longestBody;
    std::unique_ptr<Bell> bell;

    /// Guards the three below.
    std::mutex mutex;
    std::vector<NetworkRequest> waiting;
    bool started = false;
    bool stopping = false;

    // Of the thread itself.
    std::unique_ptr<QNetworkAccessManager> manager;
    std::list<std::unique_ptr<NetworkTransfer>> transfers;
};

}  // namespace pelorinnews
