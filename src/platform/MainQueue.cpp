#include "MainQueue.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QThread>

#include <utility>

namespace pelorinnews::MainQueue {

namespace {

// Never destroyed: tasks may be posted as long as the process lives.
QObject *queueContext(QThread *mainThread) {
    static QObject *const context = [mainThread] {
        auto *object = new QObject;
        object->moveToThread(mainThread);
        return object;
    }();
    return context;
}

}  // namespace

void dispatchAsync(std::function<void()> task) {
    const QCoreApplication *application = QCoreApplication::instance();
    if (!application)
        return;
    QMetaObject::invokeMethod(queueContext(application->thread()), std::move(task),
                              Qt::QueuedConnection);
}

bool isMainThread() {
    const QCoreApplication *application = QCoreApplication::instance();
    return application && application->thread() == QThread::currentThread();
}

}  // namespace pelorinnews::MainQueue
