#pragma once

#include "NotificationRegistry.h"

#include <mutex>
#include <optional>
#include <vector>

namespace pelorinnews {

/// The list of delivered notifications, in memory: those that wait for the notification server,
/// those that are present on the server (it accepted them and they have not ended), and those that
/// are withdrawn, but whose withdrawal the server has not confirmed yet. Also tracks which changes
/// are not in the registry file yet.
///
/// Until `setServer()`, entries from the registry are assumed valid, so that no caller has to wait
/// for the bus. Thread-safe.
class NotificationList {
public:
    /// At most this many notifications wait for a server; if there are more, the oldest is
    /// dropped.
    static constexpr std::size_t maxWaiting = 16;

    enum class Presentation { Asked, Unasked };

    /// Appends `notification` with a new identity. `Unasked`: the delegate has not decided yet
    /// whether to present it, so it waits for `answer`.
    void add(const UserNotification &notification, Presentation presentation);

    [[nodiscard]] QList<UserNotification> delivered() const;

    /// Withdraws a notification. True if it was sent or is being sent: the worker must then close
    /// it on the server.
    bool remove(const QString &identity);

    [[nodiscard]] std::vector<UserNotification> unasked() const;

    /// Takes the delegate's decision whether to present an unasked notification; if not, drops it.
    /// A no-op for any other notification.
    void answer(const QString &identity, bool present);

    [[nodiscard]] bool isEmpty() const;

    /// Takes over the contents of the registry file, unless newer contents are known.
    void merge(const RegistryContents &contents);

    /// Sets the bus and server to which the list applies. If either changes, forgets the
    /// notifications that were present on the earlier server; those being sent wait again, or are
    /// dropped if withdrawn.
    void setServer(const QString &bus, const QString &server);

    [[nodiscard]] bool hasWaiting() const;

    /// Marks the first waiting notification as being sent and returns it.
    [[nodiscard]] std::optional<UserNotification> takeWaiting();

    /// The server has accepted the notification being sent, under server id `serverId`. `sender` is
    /// the bus name of our connection.
    void setSent(const QString &identity, quint32 serverId, const QString &sender);

    /// The notification being sent has not reached a server. It waits again, or is dropped if
    /// withdrawn.
    void setUnsent(const QString &identity);

    /// The server ids of the withdrawn notifications to close. Returns each server id once.
    [[nodiscard]] std::vector<quint32> takeWithdrawn();

    /// The notification with server id `serverId`, even if it is withdrawn; absent if there is
    /// none.
    [[nodiscard]] std::optional<RegistryEntry> find(quint32 serverId) const;

    /// Forgets the notification with server id `serverId`: it has ended.
    void end(quint32 serverId);

    /// Forgets the notification being sent: the server refused it.
    void drop(const QString &identity);

    /// The changes that are not in the registry file yet; absent if there are none.
    [[nodiscard]] std::optional<RegistryChange> unsavedChange() const;

    /// To be called once `change` is in the file, which now holds `contents`.
    void setSaved(const RegistryChange &change, const RegistryContents &contents);

private:
    /// `Unasked`: the delegate has not decided yet. `Present`: on the server.
    enum class State { Unasked, Waiting, Sending, Present };
    struct Item {
        RegistryEntry entry;
        State state = State::Waiting;
        bool saved = false;
        bool closing = false;
    };

    using Items = std::vector<Item>;
    Items::iterator findItem(const QString &identity);
    void mergeLocked(const RegistryContents &contents);

    mutable std::mutex _mutex;
    Items _items;
    QStringList _erased;
    QString _bus;
    QString _server;
    quint64 _serial = 0;
    bool _serverKnown = false;
    bool _fileIsOfAnotherServer = false;
};

}  // namespace pelorinnews
