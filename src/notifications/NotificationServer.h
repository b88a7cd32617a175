#pragma once

#include <pelorinnews/NotificationCenter.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>

#include <functional>
#include <optional>

namespace pelorinnews {

/// The desktop's notification server as one bus connection of our own sees it. Delivering, closing
/// and listening use the same connection, since many servers signal only to the one that delivered.
///
/// Belongs to one thread, on which everything is called back. No operation waits for an answer but
/// `open`, which connects.
class NotificationServer : public QObject {
    Q_OBJECT
public:
    /// What came of a delivery.
    enum class Outcome { Delivered, Refused, ServerGone };
    /// What a server says of itself.
    struct Traits {
        /// Absent capabilities: it knows no such question.
        std::optional<QStringList> capabilities;
        /// Null where it does not tell.
        QString name;
    };
    using TraitsCallback = std::function<void(std::optional<Traits>)>;
    using NotifyCallback = std::function<void(Outcome, quint32 id)>;
    using Callback = std::function<void()>;
    using BoolCallback = std::function<void(bool)>;

    /// `originName` is shown by some desktops, `originDesktopEntry` names the host's desktop file,
    /// `actionLabel` names the click where the desktop shows it as a button.
    NotificationServer(QString originName, QString originDesktopEntry, QString actionLabel);
    ~NotificationServer() override;

    /// Connects to the bus at `address`, or the session's where that is empty, and listens, before
    /// anything can be delivered. `serverChanged` follows as soon as the bus has said who serves.
    bool open(const QString &address);

    /// Whether `serverChanged` was emitted and the bus is still there.
    [[nodiscard]] bool isKnown() const { return known; }
    /// The identifier of the bus.
    [[nodiscard]] QString busId() const { return bus; }
    /// The unique name of the server; empty where none runs.
    [[nodiscard]] QString owner() const { return serverOwner; }
    /// Our own unique name.
    [[nodiscard]] QString connectionName() const { return connection.baseService(); }

    /// Asks what the server can do and who it is, and has the bus start one where none runs.
    /// Absent where there is no server that could be asked.
    void askTraits(TraitsCallback done);

    /// Delivers `notification`, formatted for a server with these traits.
    void notify(const UserNotification &notification, const Traits &traits, NotifyCallback done);

    /// Closes notification `id`. Called back whether the server knew it or not.
    void close(quint32 id, Callback done);

    /// Asks whether the connection `name` is still on the bus.
    void askIsOnBus(const QString &name, BoolCallback done);

Q_SIGNALS:
    /// The server came, went, was replaced, or the bus was lost.
    void serverChanged();
    /// Notification `id`, of any program, is gone. Reasons: 1 expired, 2 dismissed, 3 closed by a
    /// program, 4 anything else.
    void closed(quint32 id, quint32 reason);
    /// Notification `id`, of any program, is about to be activated, with the right to the front.
    void activationTokenReceived(quint32 id, const QString &token);
    /// The user clicked notification `id`, of any program.
    void activated(quint32 id);

private Q_SLOTS:
    void onNotificationClosed(const QDBusMessage &message);
    void onActivationToken(const QDBusMessage &message);
    void onActionInvoked(const QDBusMessage &message);
    void onNameOwnerChanged(const QDBusMessage &message);
    void onDisconnected();

private:
    void listen();
    void askOwner();
    void call(const QDBusMessage &message, std::function<void(const QDBusMessage &)> done);
    [[nodiscard]] QStringList actionsFor(const Traits &traits) const;
    [[nodiscard]] bool isFromServer(const QDBusMessage &message) const;

    const QString applicationName;
    const QString desktopEntry;
    const QString label;
    const QString connectionLabel;
    QDBusConnection connection;
    QString bus;
    QString serverOwner;
    bool ownerChanged = false;
    bool known = false;
};

}  // namespace pelorinnews
