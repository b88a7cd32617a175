#pragma once

#include "platform/FileStamp.h"

#include <QHash>
#include <QSettings>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <mutex>

namespace pelorinnews {

/// A preferences file with its defaults, and the one mutex that guards both.
///
/// A QSettings object writes its file from an event on its thread, on `sync`, and in its
/// destructor. On a full disk it destroys the file. So all three go through `writeOut`, which runs
/// under the lock, checks the file after writing, and restores it if necessary. Thread-safe.
class UserDefaultsStore : public QSettings {
public:
    /// Lives on the main thread if there is an application object.
    explicit UserDefaultsStore(const QString &path);

    /// Writes and deletes `store`, on its own thread. A store that cannot be written is leaked on
    /// purpose: its destructor would write again, even on a full disk.
    static void release(UserDefaultsStore *store);

    /// The stored value, else the default, else an invalid variant.
    [[nodiscard]] QVariant read(const QString &key) const;

    /// Stores `newValue`; an absent one removes the key. The file is written when the event loop
    /// next runs.
    void write(const QString &key, const QVariant &newValue);

    void addDefaults(const QVariantMap &added);

    /// Writes pending values and reads changes by other processes. False if something stays
    /// unwritten; the next `write` or `flush` retries.
    bool flush();

protected:
    bool event(QEvent *event) override;

private:
    UserDefaultsStore(const QString &path, const FileStamp &stampBefore);
    static void flushAndDelete(UserDefaultsStore *store);
    bool writeOut();
    void touch();
    void readAgain();
    [[nodiscard]] QVariantMap everything() const;
    void reapply(const QVariantMap &wanted);
    bool keepDamagedFile();
    [[nodiscard]] bool copyDamagedFile() const;

    mutable std::mutex _mutex;
    QVariantMap _defaults;
    bool _damageLookedFor = false;
    /// Stamp of the file as QSettings last read or wrote it. Its inode number is 0 if that version
    /// is unknown, or if there was no file.
    FileStamp _stampRead;
    /// The time that `touch` last set, in nanoseconds since the epoch.
    qint64 _touched = 0;
    /// QSettings could not read the file, and takes it for empty without reporting an error. What
    /// it writes then would lack every earlier key, so this object never writes.
    bool _isUnread = false;
    /// The keys that were set and may not be in the file yet, each with the estimated size of its
    /// value in bytes.
    QHash<QString, qint64> _unwritten;
    /// The last write failed; the next change retries.
    bool _isRefused = false;
};

}  // namespace pelorinnews
