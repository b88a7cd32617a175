#pragma once

#include "MountTable.h"
#include "platform/EntryPattern.h"

#include <QByteArray>
#include <QStringList>

#include <optional>
#include <vector>

namespace pelorinnews {

/// The scope of a metadata query: this computer's own disks and the user's home folder, or a list
/// of given folders.
///
/// Covers the file system of the home folder and of each given folder, local or remote, and every
/// local file system mounted below it. Where a mount shows the contents of other folders, as an
/// overlay or an encrypting file system does (`MountTable::Mount::layers`), only the mount is
/// searched, and those folders are not. A plain value. Its calls read the disk: do not make them on
/// the main thread.
class SearchScope {
public:
    /// A special entry for a list of scopes: every local file system and the home folder.
    static QString localComputer();

    SearchScope() = default;

    /// Ignores folders in `scopes` that do not exist. If `localComputer()` is among them, ignores
    /// the rest.
    explicit SearchScope(const QStringList &scopes, const QByteArray &homeFolder = {});

    void setMounts(MountTable table);
    [[nodiscard]] const MountTable &mountTable() const { return _mounts; }

    /// The folders to walk, each within its own file system, to cover the whole scope.
    [[nodiscard]] std::vector<QByteArray> roots(const EntryPattern &pattern) const;

    /// Whether `root` lies on a file system that is not this computer's own.
    [[nodiscard]] bool isRemote(const QByteArray &root) const;

    /// Whether the folder or entry at `path` (absolute, no symbolic links) is in the scope and not
    /// inside an entry that matches.
    [[nodiscard]] bool contains(const QByteArray &path, const EntryPattern &pattern) const;

    /// The path under which a walk of the scope finds the entry at `path`. Absent if there is no
    /// such entry, it does not match, or it is outside the scope.
    [[nodiscard]] std::optional<QByteArray> located(const QByteArray &path,
                                                    const EntryPattern &pattern) const;

private:
    [[nodiscard]] bool isHomesMount(const MountTable::Mount &mount) const;

    std::vector<QByteArray> _folders;
    bool _isLocalComputer = false;
    QByteArray _home;  // no symbolic links; empty if it is not to be searched
    MountTable _mounts;
    /// Folders whose content a mount shows, too (`MountTable::Mount::layers`). The mount is
    /// searched instead.
    std::vector<QByteArray> _shownElsewhere;
};

}  // namespace pelorinnews
