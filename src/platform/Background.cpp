#include "Background.h"

#include <QCoreApplication>
#include <QThreadPool>

#include <mutex>
#include <utility>
#include <vector>

namespace pelorinnews {

namespace {

/// Objects waiting to be released. They are handed over through this list and not in a task of the
/// pool, because race detectors recognise our own mutex, but not the pool's synchronization.
struct Waiting {
    std::mutex mutex;
    std::vector<std::shared_ptr<const void>> objects;
};

/// Never destroyed: the last threads of a process may use it after the static objects are gone.
Waiting &waiting() {
    static Waiting &instance = *std::make_unique<Waiting>().release();
    return instance;
}

void releaseWaiting() {
    std::vector<std::shared_ptr<const void>> objects;
    const std::lock_guard lock(waiting().mutex);
    objects.swap(waiting().objects);
}

}  // namespace

void releaseInBackground(std::shared_ptr<const void> object) {
    // The pool ends with the application and must not be used after that.
    if (QCoreApplication::instance() == nullptr)
        return;
    {
        const std::lock_guard lock(waiting().mutex);
        waiting().objects.push_back(std::move(object));
    }
    QThreadPool::globalInstance()->start(releaseWaiting);
}

}  // namespace pelorinnews
