#pragma once

#include <QByteArray>

#include <vector>

namespace pelorinnews {

/// What is mounted where, and which of it holds this computer's own files: a value, read once.
class MountTable {
public:
    struct Mount {
        QByteArray mountPoint;
        /// The folder of the mounted file system that lies at the mount point.
        QByteArray root;
        /// "major:minor"; the same for every mount of one file system.
        QByteArray device;
        QByteArray type;
        /// The folders that it shows in another form, by what it was mounted with: an overlay's
        /// layers, the folder behind a mirror or an encrypted one. Not all file systems tell.
        std::vector<QByteArray> layers;
        int id = 0;
        /// To be searched: kept on this computer, of files, and reachable by no other local mount.
        bool local = false;
        /// Of files that another computer or another file system keeps, and reachable by no local
        /// mount.
        bool remote = false;
    };

    /// The kernel's table for this process; without `/proc`, of "/" alone. Below a root that is no
    /// mount point, as a `chroot` may make one, the kernel names none, and "/" is added here.
    static MountTable current();

    /// Reads the text of a `mountinfo` file. Lines that are not whole are left out.
    static MountTable parse(const QByteArray &text);

    [[nodiscard]] const std::vector<Mount> &mounts() const { return entries; }

    /// The mount that `path` (absolute, without symbolic links) lies on, null where none is known.
    [[nodiscard]] const Mount *mountOf(const QByteArray &path) const;

    /// Whether `mount` is here too, of the same files at the same place. Its number alone does not
    /// tell: the kernel gives one that is free to the next mount.
    [[nodiscard]] bool holds(const Mount &mount) const;

    /// Whether the path `inner` is `outer` or lies below it; by text alone.
    static bool isAtOrBelow(const QByteArray &inner, const QByteArray &outer);

private:
    void addLine(const QByteArray &line);
    void addRoot();
    void markLocal();

    std::vector<Mount> entries;
};

}  // namespace pelorinnews
