// Announces news while the window is closed, and handles clicks on announcements.

#include "NewsAnnouncement.h"
#include "OlvNewsWindowController.h"
#include "platform/OlvLocalization.h"

#include <QGuiApplication>

namespace pelorinnews {

namespace {

constexpr auto activationVariable = "XDG_ACTIVATION_TOKEN";

}  // namespace

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
    // The activation token is the desktop's permission to bring the window to the front. Qt's
    // Wayland code reads it from the environment. The old value is restored right after, so that no
    // child process inherits the token.
    const bool hasPermission = !notification.activationToken.isEmpty() &&
                               QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
    const std::optional<QByteArray> before = qEnvironmentVariableIsSet(activationVariable)
                                                 ? std::optional(qgetenv(activationVariable))
                                                 : std::nullopt;
    if (hasPermission)
        qputenv(activationVariable, notification.activationToken.toUtf8());
    showWindow();
    if (hasPermission && before)
        qputenv(activationVariable, *before);
    else if (hasPermission)
        qunsetenv(activationVariable);
    removeNotification();
}

}  // namespace pelorinnews
