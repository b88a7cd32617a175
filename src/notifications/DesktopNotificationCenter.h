#pragma once

#include "NotificationThread.h"

#include "pelorinnews/NotificationCenter.h"

#include <memory>

namespace pelorinnews {

/// The notification centre that uses the desktop's notification server
/// (`org.freedesktop.Notifications`).
///
/// Starts its own thread and bus connection when something is delivered, or when the registry holds
/// notifications of an earlier run, which the user may click; costs nothing until then. Both end
/// with the centre, within `stopTimeout`. A thread that does not end in time (on a hung bus) is
/// left behind.
class DesktopNotificationCenter final : public NotificationCenter {
public:
    static constexpr std::chrono::milliseconds stopTimeout{500};

    explicit DesktopNotificationCenter(const NotificationSender &sender);
    ~DesktopNotificationCenter() override;

    /// The centre of this process and its host, made on first use. It ends with the application
    /// object; a later application object gets a new centre. Null without an application object, or
    /// on a thread other than the main thread.
    [[nodiscard]] static std::shared_ptr<DesktopNotificationCenter> defaultUserNotificationCenter();

    /// The folder of the host `identifier` in the user's state folder (`XDG_STATE_HOME`). It holds
    /// the registry.
    [[nodiscard]] static QString stateFolder(const QString &identifier);

    void deliverNotification(const UserNotification &notification) override;
    [[nodiscard]] QList<UserNotification> deliveredNotifications() const override;
    void removeDeliveredNotification(const UserNotification &notification) override;
    void setDelegate(std::weak_ptr<NotificationCenterDelegate> delegate) override;
    bool flush(std::chrono::milliseconds timeout) override;

    /// Ends the thread. Later deliveries and removals never reach the server.
    void stop();

    /// Whether the worker thread runs.
    [[nodiscard]] bool isActive() const;

private:
    struct Shared;

    void readRegistry() const;

    const NotificationRegistry _registry;
    /// Shared with tasks that are posted to the main thread and may outlive this object.
    const std::shared_ptr<Shared> _shared;
};

}  // namespace pelorinnews
