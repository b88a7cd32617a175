#pragma once

#include "platform/FileDescriptor.h"

#include <QByteArray>

#include <map>
#include <vector>

namespace pelorinnews {

/// Tells what happens to the entries of a set of folders, and when one of the folders itself goes.
///
/// The number of folders is limited, by this class and by the system; a folder beyond the limit is
/// not watched. Used by one thread.
class FolderWatch {
public:
    static constexpr std::size_t folderLimit = 1024;

    enum class Interest {
        itself,                 ///< tell only when the folder is moved, removed or unmounted
        entries,                ///< tell also what appears in it and goes from it
        entriesAndTheirContent  ///< tell of files also when they were written or their mode changed
    };

    struct Change {
        enum class Kind { entryAppeared, entryChanged, entryGone, folderGone, changesLost };
        Kind kind;
        QByteArray folder;  ///< absolute; empty where changes were lost
        QByteArray name;    ///< of the entry
        bool entryIsFolder = false;
    };

    FolderWatch();

    /// Becomes readable when there are changes; negative where the system grants no watching.
    [[nodiscard]] int descriptor() const { return kernelQueue.get(); }

    /// Watches `folder` (absolute), or more of it than before. True where it was not yet watched
    /// with this interest and now is.
    bool watch(const QByteArray &folder, Interest interest);

    /// What has changed since the last call. Folders that went are no longer watched, and neither
    /// are those below them, whose paths are no longer theirs.
    [[nodiscard]] std::vector<Change> takeChanges();

private:
    struct Folder {
        int watchNumber;
        Interest interest;
    };

    void forget(const QByteArray &folder);

    FileDescriptor kernelQueue;
    std::map<QByteArray, Folder> folders;
    std::map<int, QByteArray> paths;
};

}  // namespace pelorinnews
