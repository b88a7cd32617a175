#pragma once

#include "finder/OlvPelorinFinder.h"

#include <pelorinnews/NotificationCenter.h>

#include <functional>
#include <memory>

namespace pelorinnews {

/// What a window controller uses of the world around the process. Neither may be absent.
struct WindowServices {
    std::shared_ptr<NotificationCenter> notificationCenter;
    std::function<std::shared_ptr<OlvPelorinFinder>()> makeFinder;

    /// The process's own notification centre, and a finder of the running host. Main thread, with
    /// the application object alive.
    [[nodiscard]] static WindowServices standard();
};

}  // namespace pelorinnews
