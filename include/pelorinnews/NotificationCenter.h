#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>

#include <chrono>
#include <memory>

namespace pelorinnews {

/// A desktop notification: what its maker states, and, once it was delivered, which one it is.
struct UserNotification {
    /// First line. Plain text; what looks like markup is shown as it stands.
    QString title;
    /// The text below the title. Plain text as well.
    QString informativeText;
    /// A name of the desktop's sound theme, or `defaultSoundName()`. Absent: silent.
    QString soundName;
    /// What the maker wants back with the delivered notification. It is never shown and never
    /// leaves the computer. In a later run, or another process of the host, only a date under
    /// "originationDate" (to the millisecond) and a text under "originatorName" come back.
    QVariantMap userInfo;

    /// Which delivered notification this is. Given by the centre, absent before.
    QString identity;
    /// The right to come to the front that the desktop gave with a click: only in a notification
    /// that `userNotificationCenterDidActivateNotification` receives, and only from desktops that
    /// send one. On Wayland, put it into the environment as XDG_ACTIVATION_TOKEN right before the
    /// window is shown or activated.
    QString activationToken;

    /// Stands for the sound that the desktop plays with an arriving message.
    static QString defaultSoundName() {
        return QStringLiteral("NSUserNotificationDefaultSoundName");
    }

    friend bool operator==(const UserNotification &, const UserNotification &) = default;
};

/// Is asked and told about the notifications of the process, its host's included, always on the
/// main thread.
class NotificationCenterDelegate {
public:
    virtual ~NotificationCenterDelegate() = default;

    /// Whether `notification` may be presented now. One that may not is dropped: it leaves the
    /// list of the delivered ones and never reaches the desktop.
    virtual bool userNotificationCenterShouldPresentNotification(
        const UserNotification &notification) = 0;

    /// The user clicked `notification`, which may be one of an earlier run. It has left the list.
    virtual void userNotificationCenterDidActivateNotification(
        const UserNotification &notification) = 0;

protected:
    NotificationCenterDelegate() = default;
    NotificationCenterDelegate(const NotificationCenterDelegate &) = default;
    NotificationCenterDelegate &operator=(const NotificationCenterDelegate &) = default;
};

/// The desktop notifications of this process: delivers them, knows which still stand, takes them
/// back, reports clicks.
///
/// Every operation may be called from any thread and returns at once, whatever the desktop's
/// notification service does; only `flush` waits. Nothing is reported as failed: what the desktop
/// cannot be told now it is told later, as far as it is kept, and what it refuses leaves the list.
class NotificationCenter {
public:
    virtual ~NotificationCenter() = default;
    NotificationCenter(const NotificationCenter &) = delete;
    NotificationCenter &operator=(const NotificationCenter &) = delete;

    /// Delivers `notification` (its identity is ignored, every call delivers a new one). Where no
    /// notification service runs, it is kept until one does; at most the newest 16 wait so, and an
    /// older one leaves the list unseen.
    virtual void deliverNotification(const UserNotification &notification) = 0;

    /// What stands, and what is on its way there, in the order of delivery: a snapshot. Includes
    /// what earlier runs of this host delivered and nobody dismissed.
    [[nodiscard]] virtual QList<UserNotification> deliveredNotifications() const = 0;

    /// Takes back the delivered notification that has the identity of `notification`. One that was
    /// not presented yet never will be. Does nothing for one that is not in the list.
    virtual void removeDeliveredNotification(const UserNotification &notification) = 0;

    /// Makes `delegate` the one that is asked and told, in place of any other. It is not kept
    /// alive; without one, everything is presented and clicks only end their notification.
    virtual void setDelegate(std::weak_ptr<NotificationCenterDelegate> delegate) = 0;

    /// Waits until the desktop has confirmed everything asked for so far, but no longer than
    /// `timeout`. True when it has; what waits for a service that does not run is not waited for.
    /// For the end of the program.
    virtual bool flush(std::chrono::milliseconds timeout) = 0;

protected:
    NotificationCenter() = default;
};

}  // namespace pelorinnews
