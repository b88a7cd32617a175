#include "MountTable.h"

#include <QFile>
#include <QList>

#include <algorithm>

namespace pelorinnews {

namespace {

/// The kernel writes space, tab, line end and backslash as a backslash and three octal digits.
QByteArray unescaped(const QByteArray &field) {
    QByteArray text;
    text.reserve(field.size());
    for (qsizetype i = 0; i < field.size(); ++i) {
        bool isOctal = false;
        const int code = field.at(i) == '\\' && i + 3 < field.size()
                             ? field.mid(i + 1, 3).toInt(&isOctal, 8)
                             : 0;
        if (isOctal)
            i += 3;
        text += isOctal ? static_cast<char>(code) : field.at(i);
    }
    return text;
}

/// File systems with a block device have a major number; the network's and the kernel's have none,
/// and neither have a few that do keep files here.
bool keepsLocalFiles(const MountTable::Mount &mount) {
    if (mount.type == "overlay")
        return mount.mountPoint == "/";  // elsewhere it is a container's view of files kept here
    if (mount.type == "tmpfs" || mount.type == "ramfs") {
        const QList<QByteArray> kernelFolders = {"/dev", "/proc", "/sys"};
        return std::none_of(kernelFolders.begin(), kernelFolders.end(),
                            [&mount](const QByteArray &folder) {
                                return MountTable::isAtOrBelow(mount.mountPoint, folder);
                            });
    }
    if (mount.type == "btrfs" || mount.type == "zfs" || mount.type == "bcachefs" ||
        mount.type == "ubifs")
        return true;
    return !mount.device.startsWith("0:");
}

}  // namespace

MountTable MountTable::current() {
    QFile file(QStringLiteral("/proc/self/mountinfo"));
    return file.open(QIODevice::ReadOnly) ? parse(file.readAll()) : MountTable();
}

MountTable MountTable::parse(const QByteArray &text) {
    MountTable table;
    for (const QByteArray &line : text.split('\n')) {
        const QList<QByteArray> fields = line.split(' ');
        const qsizetype separator = fields.indexOf("-", 6);
        if (separator < 0 || separator + 1 >= fields.size())
            continue;
        Mount mount;
        mount.id = fields.at(0).toInt();
        mount.device = fields.at(2);
        mount.root = unescaped(fields.at(3));
        mount.mountPoint = unescaped(fields.at(4));
        mount.type = fields.at(separator + 1);
        table.entries.push_back(std::move(mount));
    }
    table.markLocal();
    return table;
}

void MountTable::markLocal() {
    std::vector<Mount *> byRoot;
    for (Mount &mount : entries)
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
        candidate.local = !isHidden && !isDuplicate && keepsLocalFiles(candidate);
    }
}

const MountTable::Mount *MountTable::mountOf(const QByteArray &path) const {
    const Mount *found = nullptr;
    for (const Mount &mount : entries) {
        // Of several at one place the last one covers the others.
        if (isAtOrBelow(path, mount.mountPoint) &&
            (!found || mount.mountPoint.size() >= found->mountPoint.size()))
            found = &mount;
    }
    return found;
}

bool MountTable::holds(const Mount &mount) const {
    return std::any_of(entries.begin(), entries.end(), [&mount](const Mount &held) {
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
