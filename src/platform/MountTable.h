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
        int id = 0;
        /// To be searched: kept on this computer, of files, and reachable by no other local mount.
        bool local = false;
    };

    /// The kernel's table for this process; empty where there is none.
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
    void markLocal();

    std::vector<Mount> entries;
};

}  // namespace pelorinnews
