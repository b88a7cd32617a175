#pragma once

#include "NotificationRegistry.h"

#include <mutex>
#include <optional>
#include <vector>

namespace pelorinnews {

/// The delivered notifications of the process in memory: those that wait for the notification
/// server, those that stand, and those that were taken back and not confirmed yet. It also knows
/// what of that the registry file does not hold yet.
///
/// What it takes from the registry before `setServer` counts on trust: whoever asks is not made to
/// wait for the bus. Guards itself; any thread.
class NotificationList {
public:
    /// At most this many wait for a server; beyond it the oldest is dropped.
    static constexpr std::size_t maximumWaiting = 16;

    enum class Presentation { Asked, Unasked };

    /// Appends `notification` with a new identity. One that is unasked waits for `answer`.
    void add(const UserNotification &notification, Presentation presentation);

    [[nodiscard]] QList<UserNotification> delivered() const;

    /// Takes a notification back. True where that leaves work to do.
    bool remove(const QString &identity);

    [[nodiscard]] std::vector<UserNotification> unasked() const;

    /// The delegate's word on an unasked one; any other is left as it is.
    void answer(const QString &identity, bool present);

    [[nodiscard]] bool isEmpty() const;

    /// Takes over what the file holds, unless something newer is known.
    void merge(const RegistryContents &contents);

    /// Says for which bus and server the list holds. Where that changes, nothing stands any more
    /// and what was being sent waits again.
    void setServer(const QString &bus, const QString &server);

    [[nodiscard]] bool hasWaiting() const;

    /// The first one that waits; from now on it is being sent.
    [[nodiscard]] std::optional<UserNotification> takeWaiting();

    /// The one being sent stands, as number `serverId`.
    void setSent(const QString &identity, quint32 serverId, const QString &sender);

    /// The one being sent never arrived and waits again.
    void setUnsent(const QString &identity);

    /// The number of each one that was taken back and is to be closed; each is given once.
    [[nodiscard]] std::vector<quint32> takeWithdrawn();

    /// The one that stands as `serverId`, also where it was taken back.
    [[nodiscard]] std::optional<RegistryEntry> find(quint32 serverId) const;

    /// Forgets the one that stands as `serverId`.
    void end(quint32 serverId);

    /// Forgets the one being sent: the server refused it.
    void drop(const QString &identity);

    /// What the registry lacks; absent where it lacks nothing.
    [[nodiscard]] std::optional<RegistryChange> unsavedChange() const;

    /// `change` is in the file, which now holds `contents`.
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

    mutable std::mutex mutex;
    Items items;
    QStringList erased;
    QString bus;
    QString server;
    quint64 serial = 0;
    bool serverKnown = false;
    bool fileIsOfAnotherServer = false;
};

}  // namespace pelorinnews
