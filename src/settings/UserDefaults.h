#pragma once

#include <pelorinnews/HostIdentity.h>

#include <QDateTime>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <memory>

namespace pelorinnews {

class UserDefaultsStore;

/// The user's preferences of the host application: values by key in a file of the user's
/// configuration folder, over defaults that live in memory only. `PreferenceValue` tells what a
/// typed read makes of each kind of stored value.
///
/// **Sharing.** All readers of the same file in this process, the host's own `QSettings` included,
/// see a value at once. What another process wrote is seen after the next `synchronize`, or after
/// the next write that reached the file.
///
/// **Writing.** A value reaches the file when the event loop of the main thread next turns, with
/// `synchronize`, or at the end of the process. Nothing is written, nor any folder made, before the
/// first value is set. The file is replaced as a whole, so a reader never meets half of it. A file
/// that is a symbolic link stays one, and what it leads to is replaced.
///
/// **Trouble.** None of this is reported.
/// - A file that cannot be read counts as empty, and one that cannot be written leaves the values
///   in memory, to be tried again with each later write.
/// - The same where the disk has no room: the file, in which a host keeps its own settings, too,
///   stays as it was. Only what the host's own `QSettings` writes by itself is out of our hands.
/// - What is no regular file (a pipe, a device) is neither read nor written; if it is there when
///   the preferences are opened, all values stay in memory.
/// - A file of more than 16 MB is read, but no value is written to it.
/// - Lines that cannot be read are skipped, and before the file is first rewritten it is copied to
///   the same name with ".damaged" added, later ones with ".damaged-2" to ".damaged-9"; a tenth is
///   rewritten without a copy. Where a copy fails, the file is not rewritten.
///
/// Every operation may be called from any thread. An empty key holds nothing.
class UserDefaults {
public:
    /// The preferences of the running host, made on first use. Follows what the host states of
    /// itself: who holds an earlier object keeps it. Call it on the main thread.
    static std::shared_ptr<UserDefaults> standard();

    /// Where the preferences of a host lie: `<configuration folder>/<organisation>/<name>.conf`, as
    /// `stated`, else as the application object says. Without an organisation it is
    /// `<configuration folder>/<bundleIdentifier>.conf`.
    static QString filePath(const HostIdentity &stated, const QString &bundleIdentifier);

    /// Preferences in a file of their own.
    explicit UserDefaults(const QString &filePath);
    UserDefaults(const UserDefaults &) = delete;
    UserDefaults &operator=(const UserDefaults &) = delete;
    ~UserDefaults();

    /// Adds to the defaults, replacing earlier ones of the same keys. A stored value takes
    /// precedence, one that does not convert included.
    void registerDefaults(const QVariantMap &defaults);

    /// What is stored, else the default, else an invalid variant. Booleans and numbers come back as
    /// texts once the file was reread.
    [[nodiscard]] QVariant objectForKey(const QString &key) const;
    [[nodiscard]] bool boolForKey(const QString &key) const;
    [[nodiscard]] qint64 integerForKey(const QString &key) const;
    [[nodiscard]] QString stringForKey(const QString &key) const;
    [[nodiscard]] QDateTime dateForKey(const QString &key) const;

    /// Stores `value`; an absent one removes the key.
    void setValue(const QString &key, const QVariant &value);
    void removeObjectForKey(const QString &key);

    /// Stores `date`, and writes it at once, unless a later one is stored: by whichever process, as
    /// it is in the file at this moment. Blocks meanwhile, some milliseconds as a rule.
    void setDateUnlessEarlier(const QString &key, const QDateTime &date);

    /// Writes what is not yet written and reads what other processes wrote. Blocks meanwhile.
    void synchronize();

private:
    class OpenStores;
    std::unique_ptr<UserDefaultsStore, void (*)(UserDefaultsStore *)> store;
};

}  // namespace pelorinnews
