#include "NotificationThread.h"

#include <QDeadlineTimer>
#include <QMetaObject>

#include <utility>

namespace pelorinnews {

namespace {

/// A QThread must not be destroyed while it runs: delete it when it ends, if it ever does.
void leaveBehind(QThread *thread) {
    QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    if (thread->isFinished())
        thread->deleteLater();
}

}  // namespace

NotificationThread::NotificationThread(NotificationSender origin,
                                       std::shared_ptr<NotificationList> notifications,
                                       std::shared_ptr<NotificationProgress> reports,
                                       NotificationWorker::Activated onActivation)
    : sender(std::move(origin)),
      list(std::move(notifications)),
      progress(std::move(reports)),
      activated(std::move(onActivation)) {}

NotificationThread::~NotificationThread() {
    stop(std::chrono::milliseconds(0));
}

void NotificationThread::start() {
    const std::lock_guard lock(mutex);
    if (state == State::Idle)
        post();
}

void NotificationThread::wake() {
    const std::lock_guard lock(mutex);
    if (state != State::Stopped)
        post();
}

void NotificationThread::post() {
    progress->request();
    if (state == State::Idle) {
        launch();
        return;
    }
    {
        const std::lock_guard lock(gate->mutex);
        if (!gate->isOpen)
            return;
    }
    QMetaObject::invokeMethod(worker, "work", Qt::QueuedConnection);
}

void NotificationThread::launch() {
    state = State::Running;
    thread = std::make_unique<QThread>();
    thread->setObjectName(QStringLiteral("notifications"));
    worker = std::make_unique<NotificationWorker>(sender, list, progress, activated).release();
    worker->moveToThread(thread.get());
    const auto begin = [opened = gate, beginner = worker] {
        bool isStopped = false;
        {
            const std::lock_guard lock(opened->mutex);
            opened->isOpen = true;
            isStopped = opened->isStopped;
        }
        if (isStopped)
            beginner->stop();
        else
            beginner->work();
    };
    QObject::connect(thread.get(), &QThread::started, worker, begin);
    QObject::connect(thread.get(), &QThread::finished, worker, &QObject::deleteLater);
    thread->start();
}

bool NotificationThread::isRunning() const {
    const std::lock_guard lock(mutex);
    return state == State::Running;
}

void NotificationThread::stop(std::chrono::milliseconds timeout) {
    std::unique_ptr<QThread> ending;
    {
        const std::lock_guard lock(mutex);
        state = State::Stopped;
        if (!thread)
            return;
        const std::lock_guard gateLock(gate->mutex);
        gate->isStopped = true;
        if (gate->isOpen)
            QMetaObject::invokeMethod(worker, "stop", Qt::QueuedConnection);
        worker = nullptr;
        ending = std::move(thread);
    }
    if (!ending->wait(QDeadlineTimer(timeout)))
        leaveBehind(ending.release());
    progress->report(progress->requests(), false);
}

}  // namespace pelorinnews
