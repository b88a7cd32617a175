#pragma once

#include "FileNamePattern.h"
#include "MountTable.h"

#include <QByteArray>
#include <QStringList>

#include <optional>
#include <vector>

namespace pelorinnews {

/// Where a metadata query looks: on this computer's own disks, or below given folders.
///
/// Below a given folder its own file system counts, whatever it is, and every local one mounted
/// there. A plain value; its calls read the disk, so none belongs on the main thread.
class SearchScope {
public:
    /// Stands for every local file system, in a list of scopes.
    static QString localComputer();

    SearchScope() = default;

    /// The folders in `scopes` need not exist; `localComputer()` among them makes the rest void.
    explicit SearchScope(const QStringList &scopes);

    void setMounts(MountTable table) { mounts = std::move(table); }
    [[nodiscard]] const MountTable &mountTable() const { return mounts; }

    /// The folders to walk, each on its own file system, to have seen the whole scope.
    [[nodiscard]] std::vector<QByteArray> roots(const FileNamePattern &pattern) const;

    /// Whether the folder or entry at `path` (absolute, without symbolic links) is in the scope
    /// and in no entry that matches.
    [[nodiscard]] bool contains(const QByteArray &path, const FileNamePattern &pattern) const;

    /// The path by which the walk would find the entry at `path`: absent where there is none, its
    /// name does not match, or it is outside the scope.
    [[nodiscard]] std::optional<QByteArray> located(const QByteArray &path,
                                                    const FileNamePattern &pattern) const;

private:
    std::vector<QByteArray> folders;
    bool isLocalComputer = false;
    MountTable mounts;
};

}  // namespace pelorinnews
