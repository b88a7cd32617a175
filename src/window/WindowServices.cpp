#include "WindowServices.h"

#include "DesktopNotificationCenter.h"

namespace pelorinnews {

WindowServices WindowServices::standard() {
    return {DesktopNotificationCenter::defaultUserNotificationCenter(),
            [] { return OlvPelorinFinder::init(); }};
}

}  // namespace pelorinnews
