#pragma once

#include "MountTable.h"
#include "platform/EntryPattern.h"

#include <QByteArray>
#include <QStringList>

#include <optional>
#include <vector>

namespace pelorinnews {

/// Where a metadata query looks: on this computer's own disks and in the user's home folder, or
/// below given folders.
///
/// Below the home and a given folder its own file system counts, whatever it is, and every local
/// one mounted there. What such a file system shows of folders that lie on this computer too counts
/// only there. A plain value; its calls read the disk, so none belongs on the main thread.
class SearchScope {
public:
    /// Stands for every local file system and the home folder, in a list of scopes.
    static QString localComputer();

    SearchScope() = default;

    /// The folders in `scopes` need not exist; `localComputer()` among them makes the rest void.
    explicit SearchScope(const QStringList &scopes, const QByteArray &homeFolder = {});

    void setMounts(MountTable table);
    [[nodiscard]] const MountTable &mountTable() const { return mounts; }

    /// The folders to walk, each on its own file system, to have seen the whole scope.
    [[nodiscard]] std::vector<QByteArray> roots(const EntryPattern &pattern) const;

    /// Whether `root` lies on a file system that is not this computer's own.
    [[nodiscard]] bool isRemote(const QByteArray &root) const;

    /// Whether the folder or entry at `path` (absolute, without symbolic links) is in the scope
    /// and in no entry that matches.
    [[nodiscard]] bool contains(const QByteArray &path, const EntryPattern &pattern) const;

    /// The path by which the walk would find the entry at `path`: absent where there is none, it
    /// does not match, or it is outside the scope.
    [[nodiscard]] std::optional<QByteArray> located(const QByteArray &path,
                                                    const EntryPattern &pattern) const;

private:
    [[nodiscard]] bool isHomesMount(const MountTable::Mount &mount) const;

    std::vector<QByteArray> folders;
    bool isLocalComputer = false;
    QByteArray home;  // without symbolic links; empty where none is to be searched
    MountTable mounts;
    std::vector<QByteArray> shownElsewhere;  // folders whose content counts where a mount shows it
};

}  // namespace pelorinnews
