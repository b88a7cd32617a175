// Announcing news while the window is closed, and what a click on an announcement does.

#include "NewsAnnouncement.h"
#include "OlvLocalization.h"
#include "OlvNewsWindowController.h"

namespace pelorinnews {

QDateTime OlvNewsWindowController::notificationDate() const {
    return NewsAnnouncement::notificationDate(*_services.notificationCenter);
}

void OlvNewsWindowController::removeNotification() {
    NewsAnnouncement::removeNotification(*_services.notificationCenter);
}

void OlvNewsWindowController::announceLatestItem() {
    if (const auto latest = _newsCache->peekAtLatestItem())
        NewsAnnouncement::announce(*_services.notificationCenter,
                                   localized("NotificationCenterTitle"), *latest);
}

bool OlvNewsWindowController::userNotificationCenterShouldPresentNotification(
    const UserNotification &) {
    return true;
}

void OlvNewsWindowController::userNotificationCenterDidActivateNotification(
    const UserNotification &notification) {
    // The desktop's permission to come to the front, which the window system's code looks for here.
    if (!notification.activationToken.isEmpty())
        qputenv("XDG_ACTIVATION_TOKEN", notification.activationToken.toUtf8());
    showWindow();
    removeNotification();
}

}  // namespace pelorinnews
