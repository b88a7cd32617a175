#include "Background.h"

#include <QCoreApplication>
#include <QThread>
#include <QThreadPool>

namespace pelorinnews {

void releaseInBackground(std::shared_ptr<const void> object) {
    QThreadPool *pool = QThreadPool::globalInstance();
    if (pool == nullptr)
        return;
    pool->start([object = std::move(object)]() mutable { object.reset(); });
}

bool isMainThread() {
    const QCoreApplication *application = QCoreApplication::instance();
    return application != nullptr && application->thread() == QThread::currentThread();
}

}  // namespace pelorinnews
