#pragma once

#include "pelorinnews/HostIdentity.h"

#include <QDateTime>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <memory>

namespace pelorinnews {

class UserDefaultsStore;

/// The host application's user preferences: values by key, in a file in the user's configuration
/// folder. Defaults live in memory only. `PreferenceValue` describes how typed reads convert each
/// kind of stored value.
///
/// **Sharing.** All readers of the same file in this process, the host's own `QSettings` included,
/// see a value at once. A change by another process is visible after the next `synchronize`, or
/// after the next write that reaches the file.
///
/// **Writing.** A value is written to the file when the main thread's event loop next runs, on
/// `synchronize`, or at the end of the process. Before the first value is set, nothing is written
/// and no folder is created. The file is replaced as a whole, so a reader never sees half of it. A
/// file that is a symbolic link stays one; its target is replaced.
///
/// **Failures.** None of these is reported.
/// - A file that cannot be read counts as empty. If a file cannot be written, the values stay in
///   memory, and each later write retries.
/// - If the disk is full, the values also stay in memory, and the file stays unchanged, including
///   the host's own settings in it. We cannot protect the file from what the host's own `QSettings`
///   writes by itself.
/// - A path that is not a regular file (a pipe, a device), and a file with values nested so deeply
///   that QSettings could not read it, are neither read nor written. If that is so when the
///   preferences are opened, all values stay in memory.
/// - A file of more than 16 MB is read, but no value is written to it.
/// - Unreadable lines are skipped. Before such a file is first rewritten, it is copied to the same
///   name with ".damaged" added. Later damaged files are copied with ".damaged-2" to ".damaged-9";
///   a tenth is rewritten without a copy. If the copy fails, the file is not rewritten.
///
/// Thread-safe, except for `standard`. An empty key never holds a value.
class UserDefaults {
public:
    /// The running host's preferences, created on first use. If the host changes its stated
    /// identity, later calls return the preferences of the new identity; objects returned earlier
    /// stay valid. Main thread only.
    static std::shared_ptr<UserDefaults> standard();

    /// Path of a host's preferences file: `<configuration folder>/<organisation>/<name>.conf`, with
    /// the names from `stated`, else from the application object. Without an organisation it is
    /// `<configuration folder>/<bundleIdentifier>.conf`.
    static QString filePath(const HostIdentity &stated, const QString &bundleIdentifier);

    /// Preferences in the given file.
    explicit UserDefaults(const QString &filePath);
    UserDefaults(const UserDefaults &) = delete;
    UserDefaults &operator=(const UserDefaults &) = delete;
    ~UserDefaults();

    /// Adds to the defaults, replacing earlier ones of the same keys. A stored value takes
    /// precedence, even one that does not convert.
    void registerDefaults(const QVariantMap &defaults);

    /// The stored value, else the default, else an invalid variant. Booleans and numbers come back
    /// as texts after the file is reread.
    [[nodiscard]] QVariant objectForKey(const QString &key) const;
    [[nodiscard]] bool boolForKey(const QString &key) const;
    [[nodiscard]] qint64 integerForKey(const QString &key) const;
    [[nodiscard]] QString stringForKey(const QString &key) const;
    [[nodiscard]] QDateTime dateForKey(const QString &key) const;

    /// Stores `value`; an absent one removes the key.
    void setValue(const QString &key, const QVariant &value);
    void removeObjectForKey(const QString &key);

    /// Stores `date` and writes it at once, unless the file holds a later date at this moment,
    /// which another process may have written. Blocks, usually for some milliseconds.
    void setDateUnlessEarlier(const QString &key, const QDateTime &date);

    /// Writes pending values and reads changes by other processes. Blocks until done.
    void synchronize();

private:
    class OpenStores;
    std::unique_ptr<UserDefaultsStore, void (*)(UserDefaultsStore *)> _store;
};

}  // namespace pelorinnews
