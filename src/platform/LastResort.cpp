#include "LastResort.h"

#include <QLoggingCategory>

#include <exception>

namespace pelorinnews {

bool lastResort(const std::function<void()> &work) noexcept {
    try {
        work();
        return true;
    } catch (const std::exception &failure) {
        static const QLoggingCategory category("pelorin.news");
        qCWarning(category, "A task ended early: %s", failure.what());
    }
    return false;
}

}  // namespace pelorinnews
