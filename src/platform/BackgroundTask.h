#pragma once

#include "FileDescriptor.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <sys/types.h>

namespace pelorinnews {

/// One long piece of work on a thread of its own, which can be told to stop and which nobody waits
/// for: a thread that sits in a slow system call delays no caller of `stop`.
///
/// What the work uses must be owned by it (captured by value or shared). When the application
/// object goes, every task is told to stop, and the process waits for all of them together,
/// `joinMilliseconds` at most.
class BackgroundTask : public std::enable_shared_from_this<BackgroundTask> {
public:
    static constexpr int joinMilliseconds = 1000;
    using Work = std::function<void(BackgroundTask &task)>;

    /// Runs `work` on a new thread, which tools show as `name` (15 characters at most). Null where
    /// the system gives no thread or no descriptor.
    [[nodiscard]] static std::shared_ptr<BackgroundTask> start(const char *name, Work work);

    BackgroundTask() = default;
    BackgroundTask(const BackgroundTask &) = delete;
    BackgroundTask &operator=(const BackgroundTask &) = delete;
    ~BackgroundTask() = default;

    /// Tells the work to end and returns at once. From any thread, any number of times.
    void stop();

    [[nodiscard]] const std::atomic<bool> &stopFlag() const { return stopped; }

    /// Becomes readable when the task is told to stop, and stays so.
    [[nodiscard]] int stopDescriptor() const { return stopEvent.get(); }

    /// Gives this thread only the processor and the disk that nobody else wants. To be called by
    /// the work. An ordinary user's thread cannot go back.
    void enterIdleClass();

private:
    void run(const Work &work);
    static void stopAll();

    std::atomic<bool> stopped = false;
    FileDescriptor stopEvent;
    std::mutex mutex;
    pid_t idleThread = 0;  // guarded by the mutex; 0 where the thread is not idle or has ended
};

}  // namespace pelorinnews
