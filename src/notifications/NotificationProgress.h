#pragma once

#include <QtGlobal>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace pelorinnews {

/// How far a worker thread has come with what was asked of it, for those who wait until it has
/// nothing left to do. Any thread.
class NotificationProgress {
public:
    /// Something new was asked for.
    void request() {
        const std::lock_guard lock(mutex);
        ++requested;
    }

    [[nodiscard]] quint64 requests() const {
        const std::lock_guard lock(mutex);
        return requested;
    }

    /// The worker has looked at the first `seen` requests; `isBusy`: answers are still to come.
    void report(quint64 seen, bool isBusy) {
        {
            const std::lock_guard lock(mutex);
            done = seen;
            busy = isBusy;
        }
        changed.notify_all();
    }

    /// False where the worker was still at it when `timeout` was over.
    bool waitUntilSettled(std::chrono::milliseconds timeout) {
        std::unique_lock lock(mutex);
        // Not `wait_for`: race detectors do not see through the wait on the steady clock.
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
