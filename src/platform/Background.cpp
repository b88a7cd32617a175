#include "Background.h"

#include "BackgroundTask.h"

#include <QCoreApplication>

#include <utility>

namespace pelorinnews {

void releaseInBackground(std::shared_ptr<const void> object) {
    // Tasks end with the application.
    if (QCoreApplication::instance() == nullptr)
        return;
    // A thread of our own, and not one of Qt's global pool: if the system has no thread left, the
    // pool takes the work, never does it, and keeps the application from ending.
    static_cast<void>(BackgroundTask::start(
        "pelorin-release",
        [object = std::move(object)](BackgroundTask &) mutable { object.reset(); }));
}

}  // namespace pelorinnews
