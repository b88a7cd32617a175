#include "MountTable.h"

#include <QFile>
#include <QList>

#include <algorithm>
#include <linux/magic.h>
#include <optional>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>

namespace pelorinnews {

namespace {

/// The byte that the escape at the start of `text` stands for, if there is one: a backslash and
/// three octal digits.
std::optional<char> escapedByte(QByteArrayView text) {
    constexpr qsizetype length = 4;
    constexpr int maxByte = 0xFF;
    if (text.size() < length || text[0] != '\\')
        return std::nullopt;
    int code = 0;
    for (const char digit : text.sliced(1, length - 1)) {
        if (digit < '0' || digit > '7')
            return std::nullopt;
        code = code * 8 + (digit - '0');
    }
    return code <= maxByte ? std::optional(static_cast<char>(code)) : std::nullopt;
}

/// Undoes the escapes of the kernel, which writes space, tab, line feed and backslash as a
/// backslash and three octal digits.
QByteArray unescaped(const QByteArray &field) {
    QByteArray text;
    text.reserve(field.size());
    for (qsizetype i = 0; i < field.size(); ++i) {
        const std::optional<char> byte = escapedByte(QByteArrayView(field).sliced(i));
        text += byte.value_or(field.at(i));
        if (byte)
            i += 3;
    }
    return text;
}

bool isInKernelsFolders(const QByteArray &path) {
    const QList<QByteArray> folders = {"/dev", "/proc", "/sys"};
    return std::any_of(folders.begin(), folders.end(), [&path](const QByteArray &folder) {
        return MountTable::isAtOrBelow(path, folder);
    });
}

/// File systems on a block device have a major number other than 0. Network and kernel file systems
/// have 0, and so do a few types that store files on this computer.
bool keepsLocalFiles(const MountTable::Mount &mount) {
    if (mount.type == "overlay")
        return mount.mountPoint == "/";  // other overlays belong to containers
    if (mount.type == "tmpfs" || mount.type == "ramfs")
        return !isInKernelsFolders(mount.mountPoint);
    if (mount.type == "btrfs" || mount.type == "zfs" || mount.type == "bcachefs" ||
        mount.type == "ubifs")
        return true;
    return !mount.device.startsWith("0:");
}

/// Appends the absolute paths in `list`, which is separated by colons.
void addPaths(const QByteArray &list, std::vector<QByteArray> &paths) {
    for (const QByteArray &path : unescaped(list).split(':')) {
        if (path.startsWith('/'))
            paths.push_back(path);
    }
}

std::vector<QByteArray> layersOf(const QByteArray &type, const QByteArray &source,
                                 const QByteArray &options) {
    std::vector<QByteArray> layers;
    if (type != "overlay") {
        if (source.startsWith('/'))
            addPaths(source, layers);
        return layers;
    }
    const QList<QByteArray> keys = {"lowerdir", "lowerdir+", "upperdir"};
    for (const QByteArray &option : options.split(',')) {
        const qsizetype equals = option.indexOf('=');
        if (equals > 0 && keys.contains(option.left(equals)))
            addPaths(option.mid(equals + 1), layers);
    }
    return layers;
}

/// The file system type of "/", spelled as in the mount table, if it is one that stores files on
/// this computer without a block device; "unknown" for any other type. Empty if the system does not
/// report the type.
QByteArray typeOfRoot() {
    struct statfs status {};
    if (::statfs("/", &status) != 0)
        return {};
    constexpr auto zfs = 0x2fc12fc1;
    constexpr auto bcachefs = 0xca451a4e;
    constexpr auto ubifs = 0x24051905;
    switch (status.f_type) {
        case BTRFS_SUPER_MAGIC:
            return "btrfs";
        case TMPFS_MAGIC:
            return "tmpfs";
        case RAMFS_MAGIC:
            return "ramfs";
        case OVERLAYFS_SUPER_MAGIC:
            return "overlay";
        case zfs:
            return "zfs";
        case bcachefs:
            return "bcachefs";
        case ubifs:
            return "ubifs";
        default:
            return "unknown";
    }
}

}  // namespace

MountTable MountTable::current() {
    MountTable table;
    QFile file(QStringLiteral("/proc/self/mountinfo"));
    if (file.open(QIODevice::ReadOnly)) {
        for (const QByteArray &line : file.readAll().split('\n'))
            table.addLine(line);
    }
    if (!table.mountOf("/"))
        table.addRoot();
    table.markLocal();
    return table;
}

MountTable MountTable::parse(const QByteArray &text) {
    MountTable table;
    for (const QByteArray &line : text.split('\n'))
        table.addLine(line);
    table.markLocal();
    return table;
}

void MountTable::addLine(const QByteArray &line) {
    const QList<QByteArray> fields = line.split(' ');
    const qsizetype separator = fields.indexOf("-", 6);
    if (separator < 0 || separator + 1 >= fields.size())
        return;
    Mount mount;
    mount.id = fields.at(0).toInt();
    mount.device = fields.at(2);
    mount.root = unescaped(fields.at(3));
    mount.mountPoint = unescaped(fields.at(4));
    mount.type = fields.at(separator + 1);
    mount.layers = layersOf(mount.type, fields.value(separator + 2), fields.value(separator + 3));
    _entries.push_back(std::move(mount));
}

void MountTable::addRoot() {
    struct stat status {};
    if (::stat("/", &status) != 0)
        return;
    Mount mount;
    // The kernel does not report which folder of the file system is mounted at "/". This
    // placeholder equals no path, so no other mount counts as a duplicate of "/".
    mount.root = QByteArrayLiteral("unknown");
    mount.mountPoint = QByteArrayLiteral("/");
    mount.device = QByteArray::number(gnu_dev_major(status.st_dev)) + ':' +
                   QByteArray::number(gnu_dev_minor(status.st_dev));
    mount.type = typeOfRoot();
    _entries.insert(_entries.begin(), std::move(mount));
}

void MountTable::markLocal() {
    std::vector<Mount *> byRoot;
    for (Mount &mount : _entries)
        byRoot.push_back(&mount);
    std::stable_sort(byRoot.begin(), byRoot.end(), [](const Mount *left, const Mount *right) {
        return left->root.size() < right->root.size();
    });
    for (auto mount = byRoot.begin(); mount != byRoot.end(); ++mount) {
        Mount &candidate = **mount;
        const bool isHidden = mountOf(candidate.mountPoint) != &candidate;
        const bool isDuplicate = std::any_of(byRoot.begin(), mount, [&](const Mount *earlier) {
            return earlier->local && earlier->device == candidate.device &&
                   isAtOrBelow(candidate.root, earlier->root);
        });
        const bool isToBeFound = !isHidden && !isDuplicate;
        candidate.local = isToBeFound && keepsLocalFiles(candidate);
        candidate.remote =
            isToBeFound && !candidate.local && !isInKernelsFolders(candidate.mountPoint);
    }
}

const MountTable::Mount *MountTable::mountOf(const QByteArray &path) const {
    const Mount *found = nullptr;
    for (const Mount &mount : _entries) {
        // Of several mounts at one place, the last covers the earlier ones.
        if (isAtOrBelow(path, mount.mountPoint) &&
            (!found || mount.mountPoint.size() >= found->mountPoint.size()))
            found = &mount;
    }
    return found;
}

bool MountTable::holds(const Mount &mount) const {
    return std::any_of(_entries.begin(), _entries.end(), [&mount](const Mount &held) {
        return held.id == mount.id && held.mountPoint == mount.mountPoint &&
               held.device == mount.device && held.root == mount.root;
    });
}

bool MountTable::isAtOrBelow(const QByteArray &inner, const QByteArray &outer) {
    if (!inner.startsWith(outer))
        return false;
    return inner.size() == outer.size() || outer.endsWith('/') || inner.at(outer.size()) == '/';
}

}  // namespace pelorinnews
