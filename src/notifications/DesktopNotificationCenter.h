#pragma once

#include "NotificationThread.h"

#include <pelorinnews/NotificationCenter.h>

#include <memory>

namespace pelorinnews {

/// The notification centre over the desktop's notification server (freedesktop Notifications).
///
/// A thread and a bus connection of its own start when something is delivered, or when the registry
/// holds notifications of an earlier run whose clicks are to be heard; until then it costs nothing.
/// Both end with the centre, within `shutDownTimeout`; a thread that does not end in time (a bus
/// that hangs) is left behind.
class DesktopNotificationCenter final : public NotificationCenter {
public:
    static constexpr std::chrono::milliseconds shutDownTimeout{500};

    explicit DesktopNotificationCenter(const NotificationSender &sender);
    ~DesktopNotificationCenter() override;

    /// The centre of this process and its host, made on first use. It ends with the application
    /// object; under another one there is a new centre. Null where there is no application object,
    /// or off its thread.
    [[nodiscard]] static std::shared_ptr<DesktopNotificationCenter> defaultUserNotificationCenter();

    /// The user's state folder of the host `identifier`: where its registry belongs.
    [[nodiscard]] static QString stateFolder(const QString &identifier);

    void deliverNotification(const UserNotification &notification) override;
    [[nodiscard]] QList<UserNotification> deliveredNotifications() const override;
    void removeDeliveredNotification(const UserNotification &notification) override;
    void setDelegate(std::weak_ptr<NotificationCenterDelegate> delegate) override;
    bool flush(std::chrono::milliseconds timeout) override;

    /// Ends the thread. What is delivered or removed afterwards goes nowhere.
    void shutDown();

    /// Whether the thread runs.
    [[nodiscard]] bool isActive() const;

private:
    struct Shared;

    void readRegistry() const;

    const NotificationRegistry registry;
    /// What tasks for the main thread use too, however long those last.
    const std::shared_ptr<Shared> shared;
};

}  // namespace pelorinnews
