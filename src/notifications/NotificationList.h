#pragma once

#include "NotificationRegistry.h"

#include <mutex>
#include <optional>
#include <vector>

namespace pelorinnews {

/// The process's delivered notifications in memory: those that wait for the notification server,
/// those that stand (the server accepted them and they have not ended), and those that are
/// withdrawn but not confirmed yet. Also tracks what of that the registry file does not hold yet.
///
/// Until `setServer()`, entries from the registry are assumed valid, so that no caller has to wait
/// for the bus. Thread-safe.
class NotificationList {
public:
    /// At most this many wait for a server; beyond it the oldest is dropped.
    static constexpr std::size_t maxWaiting = 16;

    enum class Presentation { Asked, Unasked };

    /// Appends `notification` with a new identity. An `Unasked` one waits for `answer`.
    void add(const UserNotification &notification, Presentation presentation);

    [[nodiscard]] QList<UserNotification> delivered() const;

    /// Withdraws a notification. True if it was sent or is being sent, so that the worker must act.
    bool remove(const QString &identity);

    [[nodiscard]] std::vector<UserNotification> unasked() const;

    /// The delegate's answer for an unasked notification. For any other, a no-op.
    void answer(const QString &identity, bool present);

    [[nodiscard]] bool isEmpty() const;

    /// Takes over the contents of the registry file, unless newer contents are known.
    void merge(const RegistryContents &contents);

    /// Sets the bus and server that the list is about. If they change, nothing stands any more and
    /// notifications that were being sent wait again.
    void setServer(const QString &bus, const QString &server);

    [[nodiscard]] bool hasWaiting() const;

    /// Marks the first waiting notification as being sent and returns it.
    [[nodiscard]] std::optional<UserNotification> takeWaiting();

    /// The notification being sent now stands under server id `serverId`.
    void setSent(const QString &identity, quint32 serverId, const QString &sender);

    /// The notification being sent did not arrive. It waits again, or is dropped if withdrawn.
    void setUnsent(const QString &identity);

    /// The server ids of the withdrawn notifications to close. Returns each server id once.
    [[nodiscard]] std::vector<quint32> takeWithdrawn();

    /// The notification that stands under `serverId`, even if it is withdrawn.
    [[nodiscard]] std::optional<RegistryEntry> find(quint32 serverId) const;

    /// Forgets the notification that stands under `serverId`.
    void end(quint32 serverId);

    /// Forgets the notification being sent: the server refused it.
    void drop(const QString &identity);

    /// The change that the registry file lacks; absent if it lacks none.
    [[nodiscard]] std::optional<RegistryChange> unsavedChange() const;

    /// To be called once `change` is in the file, which now holds `contents`.
    void setSaved(const RegistryChange &change, const RegistryContents &contents);

private:
    enum class State { Unasked, Waiting, Sending, Standing };
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
