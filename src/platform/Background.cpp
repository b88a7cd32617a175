#include "Background.h"

#include <QThreadPool>

namespace pelorinnews {

void releaseInBackground(std::shared_ptr<const void> object) {
    QThreadPool *pool = QThreadPool::globalInstance();
    if (pool == nullptr)
        return;
    pool->start([object = std::move(object)]() mutable { object.reset(); });
}

}  // namespace pelorinnews
