#pragma once

#include <QString>

#include <tuple>

namespace pelorinnews {

/// Watches one file, however it is saved: in place, by truncation, or by renaming another file over
/// it. While there is no file, nothing has changed. Asks the file system a few times a second,
/// which also works on network mounts.
class FileWatch {
public:
    /// What the file is at this moment counts as seen.
    explicit FileWatch(const QString &path);

    /// Whether the file was replaced or changed since it was last seen.
    [[nodiscard]] bool hasChanged() const;

    /// Waits, without a limit, until the file has changed and whoever writes it seems to be done.
    /// Counts it as seen.
    void waitForChange();

private:
    /// Device, inode, size, and seconds and nanoseconds of the last modification. All 0 if there is
    /// no file.
    using State = std::tuple<quint64, quint64, qint64, qint64, qint64>;

    [[nodiscard]] State present() const;

    QByteArray _path;
    State _seen;
};

}  // namespace pelorinnews
