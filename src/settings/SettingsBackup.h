#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace pelorinnews {

/// Keeps what a settings file holds while a QSettings object replaces it. QSettings puts a cut or
/// empty file in place where the disk is full, and reports success: it does not see that the last
/// bytes could not be written.
///
/// The file that is kept is a second name of the same file, so that keeping and restoring it takes
/// no room; where the file system has no such names, a copy. Any thread, one at a time.
class SettingsBackup {
public:
    /// Settings files are some kilobytes. A larger one is neither kept nor restored, and so no
    /// change of ours is written to it at all.
    static constexpr qint64 largestFile = qint64(16) * 1024 * 1024;

    /// Keeps the file at `path`, which is a regular one or none.
    explicit SettingsBackup(const QString &path);
    SettingsBackup(const SettingsBackup &) = delete;
    SettingsBackup &operator=(const SettingsBackup &) = delete;
    ~SettingsBackup();

    /// Whether there was no file, or it can be restored.
    [[nodiscard]] bool isKept() const { return wasAbsent || !kept.isEmpty(); }

    /// Whether the file may be replaced by one of about `added` bytes more, and has room for it.
    [[nodiscard]] bool hasRoomFor(qint64 added) const;

    enum class Outcome {
        /// The file holds everything.
        Whole,
        /// It is as it was, and lacks something.
        Untouched,
        /// It had been cut and is again as it was.
        Restored,
    };

    /// What has become of the file, which should hold `keys` keys now.
    [[nodiscard]] Outcome check(qsizetype keys);

private:
    void keep();
    void restore();

    QString path;
    QByteArray target;
    /// Absent where there was no file, or none that could be read.
    std::optional<QByteArray> earlier;
    bool wasAbsent;
    QByteArray kept;
};

}  // namespace pelorinnews
