#include "WindowServices.h"

#include "notifications/DesktopNotificationCenter.h"
#include "platform/HostBundle.h"

namespace pelorinnews {

WindowServices WindowServices::standard() {
    const QString host = HostBundle::mainBundle().identifier();
    return {DesktopNotificationCenter::defaultUserNotificationCenter(),
            [] { return OlvPelorinFinder::init(); },
            host.isEmpty() ? QString() : DesktopNotificationCenter::stateFolder(host)};
}

}  // namespace pelorinnews
