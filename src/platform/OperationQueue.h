#pragma once

#include <QThreadPool>

#include <atomic>
#include <memory>

namespace pelorinnews {

/// A thread pool for the background work of one owner.
///
/// What a plain `QThreadPool` lacks for that: the last reference may be dropped on any thread, the
/// pool's own included (a plain pool would wait there for itself), and the pool's work never
/// outlives the application. When the application object goes, and again when the process leaves,
/// every queue is closed and its running work is waited for, `joinMilliseconds` at most for all of
/// them together.
class OperationQueue {
public:
    static constexpr int joinMilliseconds = 5000;
    /// A thread that has had no work for this long ends: work comes every few hours.
    static constexpr int idleMilliseconds = 500;

    [[nodiscard]] static std::shared_ptr<OperationQueue> make();

    OperationQueue() { pool.setExpiryTimeout(idleMilliseconds); }
    OperationQueue(const OperationQueue &) = delete;
    OperationQueue &operator=(const OperationQueue &) = delete;
    ~OperationQueue() = default;

    /// Where to start work; valid as long as the queue is held.
    [[nodiscard]] QThreadPool *threadPool() { return &pool; }

    /// True once the application has begun to end: work that starts now should return at once,
    /// for nobody waits for it.
    [[nodiscard]] bool isClosed() const { return closed; }

private:
    struct Registry;
    static void closeAll(Registry &all);

    QThreadPool pool;
    std::atomic<bool> closed = false;
};

}  // namespace pelorinnews
