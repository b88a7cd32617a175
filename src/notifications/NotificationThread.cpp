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
    : _sender(std::move(origin)),
      _list(std::move(notifications)),
      _progress(std::move(reports)),
      _activated(std::move(onActivation)) {}

NotificationThread::~NotificationThread() {
    stop(std::chrono::milliseconds(0));
}

void NotificationThread::start() {
    const std::lock_guard lock(_mutex);
    if (_state == State::Idle)
        post();
}

void NotificationThread::wake() {
    const std::lock_guard lock(_mutex);
    if (_state != State::Stopped)
        post();
}

void NotificationThread::post() {
    _progress->request();
    if (_state == State::Idle) {
        launch();
        return;
    }
    {
        const std::lock_guard lock(_gate->mutex);
        if (!_gate->isOpen)
            return;
    }
    QMetaObject::invokeMethod(_worker, "work", Qt::QueuedConnection);
}

void NotificationThread::launch() {
    _state = State::Running;
    _thread = std::make_unique<QThread>();
    _thread->setObjectName(QStringLiteral("notifications"));
    _worker = std::make_unique<NotificationWorker>(_sender, _list, _progress, _activated).release();
    _worker->moveToThread(_thread.get());
    const auto begin = [gate = _gate, worker = _worker] {
        bool isStopped = false;
        {
            const std::lock_guard lock(gate->mutex);
            gate->isOpen = true;
            isStopped = gate->isStopped;
        }
        if (isStopped)
            worker->stop();
        else
            worker->work();
    };
    QObject::connect(_thread.get(), &QThread::started, _worker, begin);
    QObject::connect(_thread.get(), &QThread::finished, _worker, &QObject::deleteLater);
    _thread->start();
    if (_thread->isRunning())
        return;
    // The system has no thread left. The next request tries again.
    delete std::exchange(_worker, nullptr);
    _thread.reset();
    _state = State::Idle;
}

bool NotificationThread::isRunning() const {
    const std::lock_guard lock(_mutex);
    return _state == State::Running;
}

void NotificationThread::stop(std::chrono::milliseconds timeout) {
    std::unique_ptr<QThread> ending;
    {
        const std::lock_guard lock(_mutex);
        _state = State::Stopped;
        if (!_thread)
            return;
        const std::lock_guard gateLock(_gate->mutex);
        _gate->isStopped = true;
        if (_gate->isOpen)
            QMetaObject::invokeMethod(_worker, "stop", Qt::QueuedConnection);
        _worker = nullptr;
        ending = std::move(_thread);
    }
    if (!ending->wait(QDeadlineTimer(timeout)))
        leaveBehind(ending.release());
    _progress->report(_progress->requests(), false);
}

}  // namespace pelorinnews
