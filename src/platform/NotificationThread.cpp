#include "NotificationThread.h"

#include <QDeadlineTimer>
#include <QMetaObject>

#include <utility>

namespace pelorinnews {

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
        state = State::Running;
        thread = std::make_unique<QThread>();
        thread->setObjectName(QStringLiteral("notifications"));
        worker = std::make_unique<NotificationWorker>(sender, list, progress, activated).release();
        worker->moveToThread(thread.get());
        QObject::connect(thread.get(), &QThread::finished, worker, &QObject::deleteLater);
        thread->start();
    }
    QMetaObject::invokeMethod(worker, "work", Qt::QueuedConnection);
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
        QMetaObject::invokeMethod(worker, "stop", Qt::QueuedConnection);
        worker = nullptr;
        ending = std::move(thread);
    }
    // A QThread must not be destroyed while it runs.
    if (!ending->wait(QDeadlineTimer(timeout)))
        static_cast<void>(ending.release());
    progress->report(progress->requests(), false);
}

}  // namespace pelorinnews
