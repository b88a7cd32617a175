#pragma once

#include <QByteArray>

#include <vector>

namespace pelorinnews {

/// A snapshot of the mount table that also tells which mounts hold this computer's own files. A
/// plain value.
class MountTable {
public:
    struct Mount {
        QByteArray mountPoint;
        /// The folder of the mounted file system that is visible at the mount point.
        QByteArray root;
        /// "major:minor"; the same for every mount of one file system.
        QByteArray device;
        QByteArray type;
        /// The folders whose content this mount shows in another form: an overlay's layers, or the
        /// source folder of a mirroring (bindfs) or encrypting file system. Taken from the mount's
        /// source and options; not all file systems state them there.
        std::vector<QByteArray> layers;
        int id = 0;
        /// Whether the mount holds files that are stored on this computer and that no other local
        /// mount shows. Such mounts are searched.
        bool local = false;
        /// Whether the mount's files are stored on another computer or in another file system, and
        /// no local mount shows them as well.
        bool remote = false;
    };

    /// The kernel's table for this process; without `/proc`, only "/". If the root of a `chroot` is
    /// no mount point, the kernel lists no mount for it; "/" is then added.
    static MountTable current();

    /// Parses the text of a `mountinfo` file. Skips incomplete lines.
    static MountTable parse(const QByteArray &text);

    [[nodiscard]] const std::vector<Mount> &mounts() const { return _entries; }

    /// The mount that holds `path` (absolute, no symbolic links); null if unknown.
    [[nodiscard]] const Mount *mountOf(const QByteArray &path) const;

    /// Whether this table also holds `mount`, with the same files at the same place. The id alone
    /// does not prove it: the kernel reuses free ids.
    [[nodiscard]] bool holds(const Mount &mount) const;

    /// Whether the path `inner` equals `outer` or is below it. Compares text only.
    static bool isAtOrBelow(const QByteArray &inner, const QByteArray &outer);

private:
    void addLine(const QByteArray &line);
    void addRoot();
    void markLocal();

    std::vector<Mount> _entries;
};

}  // namespace pelorinnews
