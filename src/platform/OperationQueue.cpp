#include "OperationQueue.h"

#include "ApplicationEnd.h"
#include "Background.h"

#include <QDeadlineTimer>

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

namespace pelorinnews {

struct OperationQueue::Registry {
    Registry() = default;
    Registry(const Registry &) = delete;
    Registry &operator=(const Registry &) = delete;
    /// Stops the queues at exit, too: a transport may have added a last task after the application
    /// object was destroyed, or that object is never destroyed.
    ~Registry() { stopAll(*this); }

    static Registry &instance() {
        static Registry registry;
        return registry;
    }

    std::mutex mutex;
    std::vector<std::weak_ptr<OperationQueue>> queues;
    /// References to stopped queues that have finished their work. They are held until the next
    /// queue is made, so that no pool thread drops the last reference, and so destroys a queue,
    /// while the process exits.
    std::vector<std::shared_ptr<OperationQueue>> ended;
};

std::shared_ptr<OperationQueue> OperationQueue::make() {
    // The pool's destructor waits for the pool's threads, so it must not run on one of them.
    const auto deleteInBackground = [](OperationQueue *unused) {
        releaseInBackground(std::unique_ptr<const OperationQueue>(unused));
    };
    std::shared_ptr<OperationQueue> queue(std::make_unique<OperationQueue>().release(),
                                          deleteInBackground);
    std::vector<std::shared_ptr<OperationQueue>> earlier;
    {
        Registry &all = Registry::instance();
        const std::lock_guard lock(all.mutex);
        earlier.swap(all.ended);
        std::erase_if(all.queues, [](const auto &known) { return known.expired(); });
        all.queues.push_back(queue);
    }
    ApplicationEnd::add(ApplicationEnd::Phase::Queues, [] { stopAll(Registry::instance()); });
    return queue;
}

void OperationQueue::stopAll(Registry &all) {
    std::vector<std::weak_ptr<OperationQueue>> known;
    std::vector<std::shared_ptr<OperationQueue>> stopped;
    {
        const std::lock_guard lock(all.mutex);
        known.swap(all.queues);
        stopped.swap(all.ended);
    }
    for (const auto &entry : known) {
        if (auto queue = entry.lock()) {
            queue->_stopped = true;
            stopped.push_back(std::move(queue));
        }
    }
    const QDeadlineTimer deadline(stopTimeout);
    // A queue that does not finish in time is not waited for again.
    std::erase_if(stopped, [&deadline](const auto &queue) {
        return !queue->_pool.waitForDone(static_cast<int>(deadline.remainingTime()));
    });
    const std::lock_guard lock(all.mutex);
    all.ended.swap(stopped);
}

}  // namespace pelorinnews
