#pragma once

#include "finder/OlvPelorinFinder.h"

#include "pelorinnews/NotificationCenter.h"

#include <QString>

#include <functional>
#include <memory>

namespace pelorinnews {

/// The external services that a window controller uses. Centre and finder may not be null.
struct WindowServices {
    std::shared_ptr<NotificationCenter> notificationCenter;
    std::function<std::shared_ptr<OlvPelorinFinder>()> makeFinder;
    /// The host's folder for what it keeps from one run to the next. Empty: nothing is kept.
    QString stateFolder = {};

    /// The process's own notification centre, a function that creates a finder for copies of the
    /// running host, and that host's state folder. Call it on the main thread, while the
    /// application object exists.
    [[nodiscard]] static WindowServices standard();
};

}  // namespace pelorinnews
