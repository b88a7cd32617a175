#pragma once

#include "platform/SteadyCondition.h"

#include <QtGlobal>

#include <chrono>
#include <mutex>

namespace pelorinnews {

/// Tracks how many requests a worker thread has handled, so that other threads can wait until it is
/// idle. Thread-safe.
class NotificationProgress {
public:
    /// Counts a new request.
    void request() {
        const std::lock_guard lock(_mutex);
        ++_requested;
    }

    [[nodiscard]] quint64 requests() const {
        const std::lock_guard lock(_mutex);
        return _requested;
    }

    /// Called by the worker once it has handled the first `seen` requests. `isBusy`: replies or
    /// retries are still pending.
    void report(quint64 seen, bool isBusy) {
        {
            const std::lock_guard lock(_mutex);
            _done = seen;
            _busy = isBusy;
        }
        _changed.notifyAll();
    }

    /// False if the worker is still busy after `timeout`.
    bool waitUntilSettled(std::chrono::milliseconds timeout) {
        std::unique_lock lock(_mutex);
        return _changed.waitFor(lock, timeout, [this] { return _done == _requested && !_busy; });
    }

private:
    mutable std::mutex _mutex;
    SteadyCondition _changed;
    quint64 _requested = 0;
    quint64 _done = 0;
    bool _busy = false;
};

}  // namespace pelorinnews
