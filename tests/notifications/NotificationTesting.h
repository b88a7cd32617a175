#pragma once

#include "PrivateBus.h"
#include "notifications/NotificationRegistry.h"
#include "notifications/NotificationWorker.h"

#include "pelorinnews/NotificationCenter.h"

#include <chrono>
#include <vector>

// Helpers for the tests of the notification centre, whichever server they use.
namespace pelorinnews::test {

/// The limit for calls that must not wait for a hung server or bus; it leaves room for a busy
/// computer. D-Bus's own timeout is 25 seconds.
inline constexpr std::chrono::seconds maxBlocked{5};

/// A notification with this title and with a text, a sound and user information.
inline UserNotification notification(const QString &title) {
    UserNotification made;
    made.title = title;
    made.informativeText = QStringLiteral("Text of ") + title;
    made.soundName = UserNotification::defaultSoundName();
    made.userInfo = {{QStringLiteral("key"), title}};
    return made;
}

/// The titles of the delivered notifications, in the centre's order.
inline QStringList titles(const NotificationCenter &center) {
    QStringList list;
    const auto delivered = center.deliveredNotifications();
    for (const UserNotification &each : delivered)
        list.append(each.title);
    return list;
}

/// A host on `bus` that keeps its registry in `stateFolder`.
inline NotificationSender senderOn(const PrivateBus &bus, const QString &stateFolder) {
    NotificationSender made;
    made.identifier = QStringLiteral("com.example.Host");
    made.applicationName = QStringLiteral("Host");
    made.actionLabel = QStringLiteral("Open");
    made.stateFolder = stateFolder;
    made.busAddress = bus.address();
    return made;
}

/// The entries of the registry in `stateFolder`; none if it is absent or unreadable.
inline std::vector<RegistryEntry> registeredIn(const QString &stateFolder) {
    auto contents = NotificationRegistry(stateFolder).read();
    return contents ? std::move(contents->entries) : std::vector<RegistryEntry>();
}

}  // namespace pelorinnews::test
