#pragma once

#include "RegistryContents.h"
#include "platform/FileStamp.h"
#include "platform/GuardedSlot.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

namespace pelorinnews {

/// A change to the registry. Applying it first drops all entries that belong to another bus or
/// server.
struct RegistryChange {
    QString bus;
    QString server;
    /// The serial of the newest contents known to the process that makes this change.
    quint64 serial = 0;
    QStringList erased;
    /// Entries to store: each replaces the entry with the same identity, or is appended.
    std::vector<RegistryEntry> put;
};

/// The file that persists delivered notifications beyond the process that delivered them, because a
/// notification server cannot be asked which server ids are still valid. The file stores a
/// notification's texts; of its user information, it stores only a date under "originationDate" and
/// a text under "originatorName".
///
/// Shared by all processes of the same host and user. It is changed under a lock file and replaced
/// as a whole, so reading needs no lock. It is a regular file, or a symbolic link to one; anything
/// else in its place is neither read nor written. A file of more than 128 KB counts as one that
/// cannot be parsed. Thread-safe.
class NotificationRegistry {
public:
    /// How long a change waits for another process's lock.
    static constexpr std::chrono::milliseconds lockTimeout{200};

    explicit NotificationRegistry(const QString &folder);

    /// The contents of the file. Absent if there is no file or it cannot be read or parsed. Never
    /// blocks. An unchanged file is a cache hit.
    [[nodiscard]] std::optional<RegistryContents> read() const;

    /// Applies `change` and returns the new contents of the file. Absent if the file cannot be
    /// locked or written; the file is then unchanged, with one exception. A file that cannot be
    /// parsed is renamed, with ".corrupt" added to its name, right before the new file takes its
    /// place; if that last step fails, it stays renamed. Blocks on the lock and the disk.
    ///
    /// `removed`, if given, receives those of `change.erased` that were in the file until now: if
    /// several processes erase the same entry, exactly one of them receives its identity. Empty if
    /// the change failed.
    [[nodiscard]] std::optional<RegistryContents> apply(const RegistryChange &change,
                                                        QStringList *removed = nullptr) const;

    [[nodiscard]] QString path() const { return _filePath; }

private:
    /// The stamp of a file that was read, and its contents, which are absent if they cannot be
    /// parsed.
    struct Seen {
        FileStamp stamp;
        std::optional<RegistryContents> contents;
    };

    /// Null if there is no readable file.
    [[nodiscard]] std::shared_ptr<const Seen> look() const;
    void setAside() const;

    QString _folderPath;
    QString _filePath;
    mutable GuardedSlot<std::shared_ptr<const Seen>> _lastRead;
};

}  // namespace pelorinnews
