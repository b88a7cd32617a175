#include "MainQueue.h"

#include "ApplicationEnd.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QThread>

#include <deque>
#include <mutex>
#include <utility>

namespace pelorinnews::MainQueue {

namespace {

// Tasks are kept in a list of our own and not in posted events: at the application's end Qt
// destroys posted events under a lock of the event queue, and destroying what a task holds may post
// events (deadlock).
class Queue {
public:
    void append(std::function<void()> task) {
        const std::lock_guard lock(_mutex);
        _tasks.push_back(std::move(task));
    }

    void runFirst() {
        std::function<void()> first;
        {
            const std::lock_guard lock(_mutex);
            if (_tasks.empty())
                return;
            first = std::move(_tasks.front());
            _tasks.pop_front();
        }
        first();
    }

    void stop() {
        std::deque<std::function<void()>> dropped;
        const std::lock_guard lock(_mutex);
        dropped.swap(_tasks);
        // `dropped` was declared before the lock, so it is destroyed after the lock is released.
    }

private:
    std::mutex _mutex;
    std::deque<std::function<void()>> _tasks;
};

// The queue and the context object are never destroyed: tasks may be posted as long as the process
// lives.
Queue &queue() {
    static auto *const only = new Queue;
    return *only;
}

QObject *context(QThread *mainThread) {
    static QObject *const only = [mainThread] {
        auto *object = new QObject;
        object->moveToThread(mainThread);
        return object;
    }();
    return only;
}

}  // namespace

void dispatchAsync(std::function<void()> task) {
    const QCoreApplication *application = QCoreApplication::instance();
    if (!application)
        return;
    queue().append(std::move(task));
    ApplicationEnd::add(ApplicationEnd::Phase::MainTasks, [] { queue().stop(); });
    QMetaObject::invokeMethod(
        context(application->thread()), [] { queue().runFirst(); }, Qt::QueuedConnection);
}

bool isMainThread() {
    const QCoreApplication *application = QCoreApplication::instance();
    return application && application->thread() == QThread::currentThread();
}

}  // namespace pelorinnews::MainQueue
