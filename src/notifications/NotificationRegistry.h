#pragma once

#include "platform/FileStamp.h"
#include "platform/GuardedSlot.h"

#include <pelorinnews/NotificationCenter.h>

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

namespace pelorinnews {

/// One delivered notification as the registry keeps it.
struct RegistryEntry {
    UserNotification notification;
    /// The number that the notification server gave it.
    quint32 serverId = 0;
    /// The bus name of the connection that delivered it.
    QString sender;
    /// It was taken back, but the server has not confirmed that yet.
    bool withdrawn = false;
};

/// The delivered notifications that stand, and for which server on which bus that is true.
struct RegistryContents {
    /// Grows with each change: of two contents the one with the greater number is the newer.
    quint64 serial = 0;
    QString bus;
    QString server;
    std::vector<RegistryEntry> entries;
};

/// A change to the registry. Contents that belong to another bus or server are dropped first.
struct RegistryChange {
    QString bus;
    QString server;
    /// The number of the newest contents that the changer knows.
    quint64 serial = 0;
    QStringList erased;
    /// Each replaces the entry of the same identity, or comes last.
    std::vector<RegistryEntry> put;
};

/// The file in which delivered notifications outlive the process that delivered them: no
/// notification server can be asked whether a number still stands. It keeps the texts, and of the
/// user information a date under "originationDate" and a text under "originatorName".
///
/// Shared by all processes of the same host and the same user: it is changed under a lock file and
/// replaced as a whole, so that it can be read without one. A regular file of at most 128 KB, or a
/// symbolic link to one; anything else is neither read nor written. Any thread.
class NotificationRegistry {
public:
    /// More entries than this are neither kept nor read; the oldest go first. So they do where the
    /// file would become too large.
    static constexpr std::size_t maximumEntries = 200;
    /// A change waits this long for another process's, in milliseconds.
    static constexpr int lockTimeout = 200;

    explicit NotificationRegistry(const QString &folder);

    /// What the file holds. Absent where there is none or it cannot be read or understood. Never
    /// blocks. A file that has not changed since is not read again.
    [[nodiscard]] std::optional<RegistryContents> read() const;

    /// Applies `change` and returns what the file holds then; absent where it could not be locked
    /// or written, and then it is as before, but for one that cannot be understood, which may be
    /// set aside already: it gets the name with ".corrupt" at its end before the new one takes its
    /// place. Waits for the lock and the disk.
    ///
    /// `removed`, if given, gets those of `change.erased` that the file held until now: of several
    /// processes that erase one entry, exactly one is told that it did. It stays empty where the
    /// change failed.
    [[nodiscard]] std::optional<RegistryContents> apply(const RegistryChange &change,
                                                        QStringList *removed = nullptr) const;

    [[nodiscard]] QString path() const { return filePath; }

private:
    /// A file and what it holds, where that can be understood.
    struct Seen {
        FileStamp stamp;
        std::optional<RegistryContents> contents;
    };

    /// Null where there is no file that can be read.
    [[nodiscard]] std::shared_ptr<const Seen> look() const;
    void setAside() const;

    QString folderPath;
    QString filePath;
    mutable GuardedSlot<std::shared_ptr<const Seen>> lastRead;
};

}  // namespace pelorinnews
