#pragma once

#include <QPoint>
#include <QSize>
#include <QString>

#include <optional>

namespace pelorinnews {

/// The window's size and place from one run of the host to the next: the file "window.json" in the
/// host's state folder. It is no preference, since it belongs to this computer and its screens.
///
/// Shared by all processes of the same host and user. Each reads the file when it loads its window
/// and replaces it as a whole when the window closes, so the window that closes last decides. Main
/// thread only.
class KeptGeometry {
public:
    struct Geometry {
        /// Without the frame, with the options area open.
        QSize size;
        /// The frame's upper left corner; absent where only the desktop places windows.
        std::optional<QPoint> place;

        bool operator==(const Geometry &other) const = default;
    };

    /// An empty `folder` keeps nothing.
    explicit KeptGeometry(const QString &folder) : _folder(folder) {}

    /// Absent if there is no file, or if it cannot be read or holds anything but a geometry that a
    /// window can have. Never blocks.
    [[nodiscard]] std::optional<Geometry> read() const;

    /// Writes the file if that changes it; creates the folder if needed. If that fails, the earlier
    /// file stays. Blocks on the disk.
    void write(const Geometry &geometry) const;

private:
    [[nodiscard]] QString path() const;

    QString _folder;
};

}  // namespace pelorinnews
