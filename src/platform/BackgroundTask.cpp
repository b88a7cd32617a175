#include "BackgroundTask.h"

#include "ApplicationEnd.h"
#include "LastResort.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <pthread.h>
#include <sched.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace pelorinnews {

namespace {

struct Registry {
    std::mutex mutex;
    std::condition_variable ended;
    std::vector<std::shared_ptr<BackgroundTask>> running;
};

// Never destroyed: a thread that still runs after `stopAll` removes its task here when it ends.
Registry &registry() {
    static Registry &instance = *std::make_unique<Registry>().release();
    return instance;
}

void signOff(const std::shared_ptr<BackgroundTask> &task) {
    Registry &all = registry();
    const std::lock_guard lock(all.mutex);
    std::erase(all.running, task);
    all.ended.notify_all();
}

void setInputOutputClass(pid_t thread, int ioClass) {
    constexpr int whoIsThread = 1;
    constexpr int classShift = 13;
    ::syscall(SYS_ioprio_set, whoIsThread, thread, ioClass << classShift);
}

}  // namespace

std::shared_ptr<BackgroundTask> BackgroundTask::start(const char *name, Work work) {
    auto task = std::make_shared<BackgroundTask>();
    task->_stopEvent = FileDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!task->_stopEvent.isValid())
        return nullptr;
    {
        Registry &all = registry();
        const std::lock_guard lock(all.mutex);
        all.running.push_back(task);
    }
    ApplicationEnd::add(ApplicationEnd::Phase::Searches, &BackgroundTask::stopAll);
    try {
        std::thread([task, work = std::move(work), name]() mutable {
            ::pthread_setname_np(::pthread_self(), name);
            task->run(work);
            work = nullptr;
            signOff(task);
        }).detach();
    } catch (const std::system_error &) {
        signOff(task);
        return nullptr;
    }
    return task;
}

void BackgroundTask::run(const Work &work) {
    if (!_stopped)
        lastResort([this, &work] { work(*this); });
    const std::lock_guard lock(_mutex);
    _idleThread = 0;
}

void BackgroundTask::stop() {
    _stopped = true;
    static_cast<void>(::eventfd_write(_stopEvent.get(), 1));
    const std::lock_guard lock(_mutex);
    if (_idleThread == 0)
        return;
    // On a busy computer an idle thread may get no CPU time to notice the stop, so restore its
    // ordinary scheduling class. Without permission for that, the thread ends when it next gets the
    // CPU.
    const sched_param ordinary{};
    ::sched_setscheduler(_idleThread, SCHED_OTHER, &ordinary);
    setInputOutputClass(_idleThread, 0);
}

void BackgroundTask::enterIdleClass() {
    const std::lock_guard lock(_mutex);
    if (_stopped)
        return;
    _idleThread = static_cast<pid_t>(::syscall(SYS_gettid));
    const sched_param ordinary{};
    ::sched_setscheduler(_idleThread, SCHED_IDLE, &ordinary);
    constexpr int idleInputOutput = 3;
    setInputOutputClass(_idleThread, idleInputOutput);
}

void BackgroundTask::stopAll() {
    Registry &all = registry();
    std::vector<std::shared_ptr<BackgroundTask>> running;
    {
        const std::lock_guard lock(all.mutex);
        running = all.running;
    }
    for (const auto &task : running)
        task->stop();
    std::unique_lock lock(all.mutex);
    all.ended.wait_for(lock, stopTimeout, [&all, &running] {
        return std::none_of(running.begin(), running.end(), [&all](const auto &task) {
            return std::find(all.running.begin(), all.running.end(), task) != all.running.end();
        });
    });
}

}  // namespace pelorinnews
