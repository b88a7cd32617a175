#include "WindowServices.h"

#include "notifications/DesktopNotificationCenter.h"

namespace pelorinnews {

WindowServices WindowServices::standard() {
    return {DesktopNotificationCenter::defaultUserNotificationCenter(),
            [] { return OlvPelorinFinder::init(); }};
}

}  // namespace pelorinnews
