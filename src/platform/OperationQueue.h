#pragma once

#include <QThreadPool>

#include <atomic>
#include <memory>

namespace pelorinnews {

/// A thread pool for the background work of one owner.
///
/// Unlike with a plain `QThreadPool`, the last reference may be dropped on any thread, even one of
/// the pool's own (a plain pool would wait there for itself: deadlock), and the pool's work never
/// outlives the application. When the application object is destroyed, and again when the process
/// exits, every queue is stopped and its running work is waited for, at most `stopTimeout` for
/// all of them together.
class OperationQueue {
public:
    static constexpr std::chrono::milliseconds stopTimeout{5000};
    /// A thread ends after this long without work: work comes every few hours.
    static constexpr std::chrono::milliseconds idleTimeout{500};

    [[nodiscard]] static std::shared_ptr<OperationQueue> make();

    OperationQueue() { _pool.setExpiryTimeout(static_cast<int>(idleTimeout.count())); }
    OperationQueue(const OperationQueue &) = delete;
    OperationQueue &operator=(const OperationQueue &) = delete;
    ~OperationQueue() = default;

    /// The pool to start work on; valid as long as the queue is held.
    [[nodiscard]] QThreadPool *threadPool() { return &_pool; }

    /// True once the application has begun to end. Work that starts now should return at once,
    /// since nobody waits for it.
    [[nodiscard]] bool isStopped() const { return _stopped; }

private:
    struct Registry;
    static void stopAll(Registry &all);

    QThreadPool _pool;
    std::atomic<bool> _stopped = false;
};

}  // namespace pelorinnews
