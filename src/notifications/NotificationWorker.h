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

/// Who delivers, and where.
struct NotificationSender {
    /// The host's identifier; names its desktop file too.
    QString identifier;
    /// What desktops may show as the origin.
    QString applicationName;
    /// What desktops that show a button for the click write on it. Not empty: some ignore clicks
    /// then.
    QString actionLabel;
    /// The folder of the registry.
    QString stateFolder;
    /// The bus; the session's where empty.
    QString busAddress;
};

/// Keeps the notification server, the list in memory and the registry file in step. Lives on a
/// thread of its own, where it may wait for the bus and the disk; it never waits for the server.
class NotificationWorker : public QObject {
    Q_OBJECT
public:
    using Activated = std::function<void(const UserNotification &)>;

    /// `onActivation` is called on the worker's thread with each notification that was clicked.
    NotificationWorker(NotificationSender origin, std::shared_ptr<NotificationList> notifications,
                       std::shared_ptr<NotificationProgress> reports, Activated onActivation);

    /// Does what the list has to do. The first time, connects to the bus.
    Q_INVOKABLE void work();

    /// Leaves the bus and ends the thread. What was not done by then is done by the next process.
    Q_INVOKABLE void stop();

private:
    void advance();
    void connectIfNeeded();
    void serverChanged();
    void save();
    void withdraw();
    void present();
    void presentNext(const NotificationServer::Traits &traits);
    void onSent(const QString &identity, NotificationServer::Outcome outcome, quint32 id,
                const NotificationServer::Traits &traits);
    void onClosed(quint32 id, quint32 reason);
    void onActivated(quint32 id);
    void decideForeignClicks(const QStringList &erased, const QStringList &removed);
    void activate(const RegistryEntry &entry);
    void close(quint32 id);
    [[nodiscard]] std::optional<RegistryEntry> findOwn(quint32 id);
    [[nodiscard]] bool isBusy() const;

    const NotificationSender sender;
    const NotificationRegistry registry;
    const std::shared_ptr<NotificationList> list;
    const std::shared_ptr<NotificationProgress> progress;
    const Activated activated;

    std::unique_ptr<NotificationServer> server;
    QTimer saveTimer;
    int saveAttemptsLeft;
    quint64 seenRequests = 0;
    /// Answers to calls that were made before the server changed are nobody's.
    quint64 generation = 0;
    bool presenting = false;
    int closing = 0;
    /// What happened to numbers that nobody knew while a delivery's number was still to come.
    std::set<quint32> closedEarly;
    std::set<quint32> activatedEarly;
    std::map<quint32, QString> activationTokens;
    /// What was clicked and delivered by another process, by identity, until our change to the
    /// registry tells whether it was us who ended it.
    std::map<QString, RegistryEntry> foreignClicks;
};

}  // namespace pelorinnews
