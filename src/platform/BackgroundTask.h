#pragma once

#include "FileDescriptor.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <sys/types.h>

namespace pelorinnews {

/// One long piece of work on its own thread. It can be cancelled, and nobody waits for it: a thread
/// that is blocked in a slow system call delays no caller of `stop`.
///
/// The work must own what it uses (captured by value or shared). When the application object is
/// destroyed, every task is told to stop, and the process waits for all of them together, at most
/// `joinTimeout`.
class BackgroundTask : public std::enable_shared_from_this<BackgroundTask> {
public:
    static constexpr std::chrono::milliseconds joinTimeout{1000};
    using Work = std::function<void(BackgroundTask &task)>;

    /// Runs `work` on a new thread, which tools show as `name` (a literal of at most 15
    /// characters). Null if the system provides no thread or no descriptor.
    [[nodiscard]] static std::shared_ptr<BackgroundTask> start(const char *name, Work work);

    BackgroundTask() = default;
    BackgroundTask(const BackgroundTask &) = delete;
    BackgroundTask &operator=(const BackgroundTask &) = delete;
    ~BackgroundTask() = default;

    /// Tells the work to end and returns at once. Thread-safe and idempotent.
    void stop();

    [[nodiscard]] const std::atomic<bool> &stopFlag() const { return _stopped; }

    /// Becomes readable when the task is told to stop, and stays so.
    [[nodiscard]] int stopDescriptor() const { return _stopEvent.get(); }

    /// Gives this thread only the CPU time and the disk access that nobody else wants. To be called
    /// by the work. An ordinary user's thread cannot undo it.
    void enterIdleClass();

private:
    void run(const Work &work);
    static void stopAll();

    std::atomic<bool> _stopped = false;
    FileDescriptor _stopEvent;
    std::mutex _mutex;
    pid_t _idleThread = 0;  // guarded by the mutex; 0 if the thread is not idle or has ended
};

}  // namespace pelorinnews
