#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>

#include <chrono>
#include <memory>

namespace pelorinnews {

/// A desktop notification: its content and, once delivered, its identity.
struct UserNotification {
    /// First line. Plain text: markup is shown literally.
    QString title;
    /// The text below the title. Plain text as well.
    QString informativeText;
    /// A sound name of the desktop's sound theme, or `defaultSoundName()`. If absent, the
    /// notification is silent.
    QString soundName;
    /// The sender's own data, returned with the delivered notification. It is never shown and never
    /// leaves the computer. Only two entries are persisted and come back in a later run or in
    /// another process of the host: a date under "originationDate" (to the millisecond) and a text
    /// under "originatorName".
    QVariantMap userInfo;

    /// Identifies a delivered notification. Set by the centre; absent before delivery.
    QString identity;
    /// The activation token that the desktop sent with a click: permission to bring a window to the
    /// front. Present only in a notification passed to
    /// `userNotificationCenterDidActivateNotification`, and only from desktops that send a token.
    /// On Wayland, put it into the environment as XDG_ACTIVATION_TOKEN right before showing or
    /// activating the window.
    QString activationToken;

    /// Value of `soundName` for the sound that the desktop plays for an incoming message.
    static QString defaultSoundName() {
        return QStringLiteral("NSUserNotificationDefaultSoundName");
    }

    friend bool operator==(const UserNotification &, const UserNotification &) = default;
};

/// Callbacks about all notifications of the process, the host's included. Always called on the main
/// thread.
class NotificationCenterDelegate {
public:
    virtual ~NotificationCenterDelegate() = default;

    /// Whether `notification` may be presented now. If not, it is removed from the list of
    /// delivered notifications and never reaches the desktop.
    virtual bool userNotificationCenterShouldPresentNotification(
        const UserNotification &notification) = 0;

    /// The user clicked `notification`, which may be from an earlier run of the host. It has
    /// already been removed from the list of delivered notifications.
    virtual void userNotificationCenterDidActivateNotification(
        const UserNotification &notification) = 0;

protected:
    NotificationCenterDelegate() = default;
    NotificationCenterDelegate(const NotificationCenterDelegate &) = default;
    NotificationCenterDelegate &operator=(const NotificationCenterDelegate &) = default;
};

/// The desktop notifications of this process: delivers them, tracks which are still present,
/// withdraws them and reports clicks.
///
/// Thread-safe: every operation may be called from any thread. All return at once, whatever the
/// desktop's notification service does, except `flush`, which waits. No operation reports failure:
/// a request that the desktop cannot take now is queued and sent later, unless the queue drops it,
/// and a notification that the desktop refuses is removed from the list.
class NotificationCenter {
public:
    virtual ~NotificationCenter() = default;
    NotificationCenter(const NotificationCenter &) = delete;
    NotificationCenter &operator=(const NotificationCenter &) = delete;

    /// Delivers `notification` as a new one; its identity is ignored. While no notification service
    /// runs, the notification is queued. The queue holds the newest 16; older ones are removed from
    /// the list without being shown.
    virtual void deliverNotification(const UserNotification &notification) = 0;

    /// A snapshot of the notifications that are present on the desktop or still being delivered, in
    /// the order of delivery. Includes those of earlier runs of this host that nobody dismissed.
    [[nodiscard]] virtual QList<UserNotification> deliveredNotifications() const = 0;

    /// Withdraws the delivered notification that has the identity of `notification`. If it was not
    /// presented yet, it never will be. No-op if it is not in the list.
    virtual void removeDeliveredNotification(const UserNotification &notification) = 0;

    /// Replaces the delegate, which is not kept alive. Without a delegate, every notification is
    /// presented and a click only removes its notification.
    virtual void setDelegate(std::weak_ptr<NotificationCenterDelegate> delegate) = 0;

    /// Waits until the desktop has confirmed all requests made so far, at most for `timeout`. False
    /// on timeout. Does not wait for notifications that are queued because no service runs. Meant
    /// for the end of the program.
    virtual bool flush(std::chrono::milliseconds timeout) = 0;

protected:
    NotificationCenter() = default;
};

}  // namespace pelorinnews
