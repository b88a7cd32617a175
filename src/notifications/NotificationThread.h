#pragma once

#include "NotificationWorker.h"

#include <QThread>

#include <chrono>
#include <memory>
#include <mutex>

namespace pelorinnews {

/// The thread of the notification worker. Starts when first needed, and never again after `stop`.
/// Thread-safe.
class NotificationThread {
public:
    NotificationThread(NotificationSender origin, std::shared_ptr<NotificationList> notifications,
                       std::shared_ptr<NotificationProgress> reports,
                       NotificationWorker::Activated onActivation);
    ~NotificationThread();
    NotificationThread(const NotificationThread &) = delete;
    NotificationThread &operator=(const NotificationThread &) = delete;

    /// Starts the worker unless it already runs or `stop` was called.
    void start();

    /// Makes the worker do the list's pending work; starts it if needed. A no-op after `stop`.
    void wake();

    [[nodiscard]] bool isRunning() const;

    /// Ends the thread and waits for it, at most `timeout`. A thread that is blocked for longer is
    /// left behind. No worker starts afterwards.
    void stop(std::chrono::milliseconds timeout);

private:
    enum class State { Idle, Running, Stopped };
    /// Shared with the thread, which may outlive this object. Nothing is posted to the thread until
    /// the thread itself has set `isOpen`. Right after setting it, the thread does the list's
    /// pending work, so no request is missed.
    struct Gate {
        std::mutex mutex;
        bool isOpen = false;
        bool isStopped = false;
    };
    void post();
    void launch();

    const NotificationSender _sender;
    const std::shared_ptr<NotificationList> _list;
    const std::shared_ptr<NotificationProgress> _progress;
    const NotificationWorker::Activated _activated;

    mutable std::mutex _mutex;
    State _state = State::Idle;
    const std::shared_ptr<Gate> _gate = std::make_shared<Gate>();
    std::unique_ptr<QThread> _thread;
    NotificationWorker *_worker = nullptr;
};

}  // namespace pelorinnews
