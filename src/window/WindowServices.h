#pragma once

#include "finder/OlvPelorinFinder.h"

#include "pelorinnews/NotificationCenter.h"

#include <functional>
#include <memory>

namespace pelorinnews {

/// The external services that a window controller uses. Neither may be null.
struct WindowServices {
    std::shared_ptr<NotificationCenter> notificationCenter;
    std::function<std::shared_ptr<OlvPelorinFinder>()> makeFinder;

    /// The process's own notification centre, and a function that creates a finder for copies of
    /// the running host. Call it on the main thread, while the application object exists.
    [[nodiscard]] static WindowServices standard();
};

}  // namespace pelorinnews
