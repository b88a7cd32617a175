#pragma once

#include <QtGlobal>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace pelorinnews {

/// Tracks how many requests a worker thread has handled, so that others can wait until it is idle.
/// Thread-safe.
class NotificationProgress {
public:
    /// Counts a new request.
    void request() {
        const std::lock_guard lock(mutex);
        ++requested;
    }

    [[nodiscard]] quint64 requests() const {
        const std::lock_guard lock(mutex);
        return requested;
    }

    /// For the worker: it has handled the first `seen` requests. `isBusy`: replies or retries are
    /// still pending.
    void report(quint64 seen, bool isBusy) {
        {
            const std::lock_guard lock(mutex);
            done = seen;
            busy = isBusy;
        }
        changed.notify_all();
    }

    /// False if the worker is still busy after `timeout`.
    bool waitUntilSettled(std::chrono::milliseconds timeout) {
        std::unique_lock lock(mutex);
        // Not `wait_for`: race detectors do not understand its wait on the steady clock.
        return changed.wait_until(lock, std::chrono::system_clock::now() + timeout,
                                  [this] { return done == requested && !busy; });
    }

private:
    mutable std::mutex mutex;
    std::condition_variable changed;
    quint64 requested = 0;
    quint64 done = 0;
    bool busy = false;
};

}  // namespace pelorinnews
