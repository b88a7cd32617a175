#pragma once

#include "FileDescriptor.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <sys/types.h>

namespace pelorinnews {

/// One long piece of work on its own thread. `stop` cancels it without waiting: a thread that is
/// blocked in a slow system call does not delay the caller.
///
/// The work must own what it uses (captured by value or shared). When the application object is
/// destroyed, every task is told to stop, and the process waits for all of them together, at most
/// `stopTimeout`.
class BackgroundTask : public std::enable_shared_from_this<BackgroundTask> {
public:
    static constexpr std::chrono::milliseconds stopTimeout{1000};
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

    /// A descriptor that becomes readable when the task is told to stop, and stays readable.
    [[nodiscard]] int stopDescriptor() const { return _stopEvent.get(); }

    /// Moves the calling thread to the idle scheduling classes: it gets only the CPU time and disk
    /// access that nothing else wants. To be called by the work. A thread without privileges cannot
    /// undo this.
    void enterIdleClass();

private:
    void run(const Work &work);
    static void stopAll();

    std::atomic<bool> _stopped = false;
    FileDescriptor _stopEvent;
    std::mutex _mutex;
    pid_t _idleThread = 0;  // guarded by `_mutex`; 0 unless the thread is in the idle class
};

}  // namespace pelorinnews
