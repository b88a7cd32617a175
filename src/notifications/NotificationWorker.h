#pragma once

#include "NotificationList.h"
#include "NotificationProgress.h"
#include "NotificationRegistry.h"
#include "NotificationServer.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <map>
#include <memory>
#include <set>

namespace pelorinnews {

/// The program that sends notifications, the folder of its registry and the bus that it uses.
struct NotificationSender {
    /// The host's identifier; also the name of its desktop file.
    QString identifier;
    /// The application's name; desktops may show it as the origin.
    QString applicationName;
    /// The text of the button on desktops that show one for the click. Must not be empty: some
    /// desktops then ignore clicks.
    QString actionLabel;
    /// The registry's folder.
    QString stateFolder;
    /// The bus address; the session bus if empty.
    QString busAddress;
};

/// Keeps the notification server, the list in memory and the registry file in sync. Lives on its
/// own thread, where it may block on the bus and the disk; it never blocks on the server.
class NotificationWorker : public QObject {
    Q_OBJECT
public:
    using Activated = std::function<void(const UserNotification &)>;

    /// `onActivation` is called on the worker's thread with each notification that was clicked.
    NotificationWorker(NotificationSender origin, std::shared_ptr<NotificationList> notifications,
                       std::shared_ptr<NotificationProgress> reports, Activated onActivation);

    /// Saves, withdraws and sends what is pending in the list. Connects to the bus first, if not
    /// connected.
    Q_INVOKABLE void work();

    /// Disconnects from the bus and ends the thread. Unfinished work is left to the next process.
    Q_INVOKABLE void stop();

private:
    void advance();
    void connectIfNeeded();
    void serverChanged();
    void save();
    void withdraw();
    void present();
    void presentNext(const NotificationServer::Traits &traits);
    void onSent(const QString &identity, NotificationServer::Outcome outcome, quint32 serverId,
                const NotificationServer::Traits &traits);
    void onClosed(quint32 serverId, quint32 reason);
    void onActivated(quint32 serverId);
    void decideForeignClicks(const QStringList &erased, const QStringList &removed);
    void activate(const RegistryEntry &entry);
    void close(quint32 serverId);
    [[nodiscard]] std::optional<RegistryEntry> findOwn(quint32 serverId);
    [[nodiscard]] bool isBusy() const;

    const NotificationSender _sender;
    const NotificationRegistry _registry;
    const std::shared_ptr<NotificationList> _list;
    const std::shared_ptr<NotificationProgress> _progress;
    const Activated _activated;

    std::unique_ptr<NotificationServer> _server;
    QTimer _saveTimer;
    int _saveAttemptsLeft;
    quint64 _seenRequests = 0;
    /// Bumped on server change; stale replies are dropped.
    quint64 _generation = 0;
    bool _presenting = false;
    /// Whether a delivery to the current server was begun. If so, the server's end counts in
    /// `_lostServers`.
    bool _serverWasAsked = false;
    /// Servers that have ended after a delivery to them was begun; reset by each request.
    int _lostServers = 0;
    int _closing = 0;
    /// Server ids that were reported as closed or clicked, but that the list does not hold. They
    /// may belong to the delivery in progress, whose reply with the server id is still pending.
    /// Cleared before each delivery.
    std::set<quint32> _closedEarly;
    std::set<quint32> _activatedEarly;
    std::map<quint32, QString> _activationTokens;
    /// Clicked notifications that another process delivered, by identity. Several processes may be
    /// told of a click; the one that erases the notification's entry from the registry handles it.
    /// They stay here until this process knows whether it did.
    std::map<QString, RegistryEntry> _foreignClicks;
};

}  // namespace pelorinnews
