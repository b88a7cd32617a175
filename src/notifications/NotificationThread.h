#pragma once

#include "NotificationWorker.h"

#include <QThread>

#include <chrono>
#include <memory>
#include <mutex>

namespace pelorinnews {

/// The thread on which the notification worker runs: started when it is first needed, ended once.
/// Any thread.
class NotificationThread {
public:
    NotificationThread(NotificationSender origin, std::shared_ptr<NotificationList> notifications,
                       std::shared_ptr<NotificationProgress> reports,
                       NotificationWorker::Activated onActivation);
    ~NotificationThread();
    NotificationThread(const NotificationThread &) = delete;
    NotificationThread &operator=(const NotificationThread &) = delete;

    /// Lets the worker run unless it already does.
    void start();

    /// Has the worker look at the list; starts it where needed. Does nothing after `stop`.
    void wake();

    [[nodiscard]] bool isRunning() const;

    /// Ends the thread and waits for that, but no longer than `timeout`; a thread that waits for
    /// something that never comes is left behind then. No worker runs afterwards.
    void stop(std::chrono::milliseconds timeout);

private:
    enum class State { Idle, Running, Stopped };
    /// Between us and the thread, which may outlive us. Nothing is posted to the thread before it
    /// has opened the gate itself: its first look at the list comes right after.
    struct Gate {
        std::mutex mutex;
        bool isOpen = false;
        bool isStopped = false;
    };
    void post();
    void launch();

    const NotificationSender sender;
    const std::shared_ptr<NotificationList> list;
    const std::shared_ptr<NotificationProgress> progress;
    const NotificationWorker::Activated activated;

    mutable std::mutex mutex;
    State state = State::Idle;
    const std::shared_ptr<Gate> gate = std::make_shared<Gate>();
    std::unique_ptr<QThread> thread;
    NotificationWorker *worker = nullptr;
};

}  // namespace pelorinnews
