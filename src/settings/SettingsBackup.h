#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace pelorinnews {

/// Backs up a settings file while a QSettings object replaces it. On a full disk, QSettings leaves
/// a truncated or empty file and reports success: it does not notice that the last bytes could not
/// be written.
///
/// The backup is a hard link, so that making and restoring it takes no disk space; on a file system
/// without hard links it is a copy. Any thread, one at a time.
class SettingsBackup {
public:
    /// In bytes; settings files usually have some kilobytes. A file larger than this is neither
    /// backed up nor restored, so this module writes no change to it.
    static constexpr qint64 maxFileBytes = qint64(16) * 1024 * 1024;

    /// Backs up the file at `path`, which is a regular file or absent.
    explicit SettingsBackup(const QString &path);
    SettingsBackup(const SettingsBackup &) = delete;
    SettingsBackup &operator=(const SettingsBackup &) = delete;
    ~SettingsBackup();

    /// Whether the earlier state can be restored: a backup exists, or there was no file.
    [[nodiscard]] bool isKept() const { return _wasAbsent || !_kept.isEmpty(); }

    /// Whether the file may be replaced, and the disk has room for a new file that is about `added`
    /// bytes larger.
    [[nodiscard]] bool hasRoomFor(qint64 added) const;

    enum class Outcome {
        /// The file holds all keys.
        Whole,
        /// The file lacks some keys and was not restored: it is unchanged, or there is no backup,
        /// or restoring failed.
        Untouched,
        /// The file was truncated, and the earlier state was restored.
        Restored,
    };

    /// Checks that the file now holds `keys` keys, and restores it if it was truncated. Before
    /// restoring, waits at most a second for the file's lock.
    [[nodiscard]] Outcome check(qsizetype keys);

private:
    bool restore();

    QString _path;
    QByteArray _target;
    /// The earlier contents; absent if there was no file, or it could not be read.
    std::optional<QByteArray> _earlier;
    bool _wasAbsent;
    QByteArray _kept;
};

}  // namespace pelorinnews
