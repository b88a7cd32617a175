#pragma once

#include <QByteArray>

#include <vector>

namespace pelorinnews {

/// The mount table, and which mounts hold this computer's own files. A value, read once.
class MountTable {
public:
    struct Mount {
        QByteArray mountPoint;
        /// The folder of the mounted file system that is visible at the mount point.
        QByteArray root;
        /// "major:minor"; the same for every mount of one file system.
        QByteArray device;
        QByteArray type;
        /// The folders that this mount shows in another form, from its source and options: an
        /// overlay's layers, the folder behind a mirror or an encrypted file system. Not all file
        /// systems report them.
        std::vector<QByteArray> layers;
        int id = 0;
        /// To be searched: holds files that are kept on this computer and that no other local mount
        /// reaches.
        bool local = false;
        /// Holds files that are kept by another computer or another file system and that no local
        /// mount reaches.
        bool remote = false;
    };

    /// The kernel's table for this process; without `/proc`, only "/". In a `chroot` whose root is
    /// no mount point the kernel lists no mount for it; then "/" is added.
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
