#pragma once

#include "pelorinnews/NotificationCenter.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>

#include <functional>
#include <optional>

namespace pelorinnews {

/// Client of the desktop's notification server, on its own bus connection. Delivers, closes and
/// listens on the same connection, since many servers send signals only to the connection that
/// delivered the notification.
///
/// Belongs to one thread, on which all callbacks run. Only `open` blocks, while it connects; no
/// other operation waits for a reply.
class NotificationServer : public QObject {
    Q_OBJECT
public:
    /// The result of a delivery.
    enum class Outcome { Delivered, Refused, ServerGone };
    /// What a server reports about itself.
    struct Traits {
        /// Absent if the server does not implement this query.
        std::optional<QStringList> capabilities;
        /// Null if the server does not report it.
        QString name;
    };
    using TraitsCallback = std::function<void(std::optional<Traits>)>;
    using NotifyCallback = std::function<void(Outcome, quint32 serverId)>;
    using Callback = std::function<void()>;
    using BoolCallback = std::function<void(bool)>;

    /// `originName` is the application's name, which some desktops show. `originDesktopEntry` is
    /// the name of the host's desktop file. `actionLabel` is the text of the button on desktops
    /// that show one for the click.
    NotificationServer(QString originName, QString originDesktopEntry, QString actionLabel);
    ~NotificationServer() override;

    /// Connects to the bus at `address`, or to the session bus if that is empty, and listens to
    /// signals before anything can be delivered. False if there is no connection. `serverChanged`
    /// follows once the bus has reported who owns the server's name.
    bool open(const QString &address);

    /// Whether `serverChanged` has been emitted and the bus is still connected.
    [[nodiscard]] bool isKnown() const { return _known; }
    /// The identifier of the bus.
    [[nodiscard]] QString busId() const { return _bus; }
    /// The unique bus name of the server; empty if no server runs.
    [[nodiscard]] QString owner() const { return _serverOwner; }
    /// The unique bus name of our connection.
    [[nodiscard]] QString connectionName() const { return _connection.baseService(); }

    /// Queries the capabilities and identity of the known server. If none is known, the bus starts
    /// one. The traits are absent if no server can be asked, or the server ends first; then
    /// `serverChanged` follows.
    void askTraits(TraitsCallback done);

    /// Delivers `notification`, formatted for a server with these traits.
    void notify(const UserNotification &notification, const Traits &traits, NotifyCallback done);

    /// Closes the notification with server id `serverId`. Calls `done` whether or not the server
    /// knew the notification.
    void close(quint32 serverId, Callback done);

    /// Asks the bus whether the connection `name` still exists.
    void askIsOnBus(const QString &name, BoolCallback done);

Q_SIGNALS:
    /// One of these has happened: the bus has reported the server's owner after `open`; a server
    /// has started, ended or been replaced; the connection to the bus was lost.
    void serverChanged();
    /// The notification with server id `serverId` is gone. It may belong to any program. Reasons: 1
    /// expired, 2 dismissed, 3 closed by a program, 4 anything else.
    void closed(quint32 serverId, quint32 reason);
    /// The notification with server id `serverId` is about to be activated. It may belong to any
    /// program. `token` is an activation token, which permits a program to bring a window to the
    /// front.
    void activationTokenReceived(quint32 serverId, const QString &token);
    /// The user clicked the notification with server id `serverId`. It may belong to any program.
    void activated(quint32 serverId);

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

    const QString _applicationName;
    const QString _desktopEntry;
    const QString _label;
    const QString _connectionLabel;
    QDBusConnection _connection;
    QString _bus;
    QString _serverOwner;
    bool _ownerChanged = false;
    bool _known = false;
    bool _isDisconnected = false;
};

}  // namespace pelorinnews
