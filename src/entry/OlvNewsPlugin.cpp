#include "OlvNewsPlugin.h"

#include "OlvNewsController.h"
#include "notifications/DesktopNotificationCenter.h"
#include "platform/HostBundle.h"

namespace pelorinnews {

void OlvNewsPlugin::setHostIdentity(const HostIdentity &identity) {
    HostBundle::setIdentity(identity);
}

std::shared_ptr<NewsController> OlvNewsPlugin::init(Error *error) {
    return OlvNewsController::init(error);
}

std::shared_ptr<NotificationCenter> OlvNewsPlugin::notificationCenter() {
    return DesktopNotificationCenter::defaultUserNotificationCenter();
}

}  // namespace pelorinnews
