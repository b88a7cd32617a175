#pragma once

#include "platform/FileDescriptor.h"

#include <QByteArray>

#include <map>
#include <vector>

namespace pelorinnews {

/// Watches a set of folders with inotify. Reports changes of their entries, and when a folder
/// itself is moved, removed or unmounted.
///
/// The number of folders is limited, by this class and by the system; a folder beyond the limit is
/// not watched. Used by one thread.
class FolderWatch {
public:
    static constexpr std::size_t maxFolders = 1024;

    enum class Interest {
        Itself,                 ///< report only when the folder is moved, removed or unmounted
        Entries,                ///< also report entries that appear or disappear
        EntriesAndTheirContent  ///< also report files that are written or change mode
    };

    struct Change {
        enum class Kind { EntryAppeared, EntryChanged, EntryGone, FolderGone, ChangesLost };
        Kind kind;
        QByteArray folder;  ///< absolute; empty for `ChangesLost`
        QByteArray name;    ///< of the entry; empty for `FolderGone` and `ChangesLost`
        bool entryIsFolder = false;
    };

    FolderWatch();

    /// A descriptor that becomes readable when changes are pending. Negative if the system provides
    /// no inotify.
    [[nodiscard]] int descriptor() const { return _kernelQueue.get(); }

    /// Watches `folder` (absolute), or extends an existing watch to `interest`. False if that watch
    /// covers `interest` already, if the limit is reached, or if the system refuses.
    bool watch(const QByteArray &folder, Interest interest);

    /// The changes since the last call. A folder that is gone is no longer watched, and neither are
    /// the folders below it: their paths are stale.
    [[nodiscard]] std::vector<Change> takeChanges();

private:
    struct Folder {
        int watchNumber;
        Interest interest;
    };

    void forget(const QByteArray &folder);

    FileDescriptor _kernelQueue;
    std::map<QByteArray, Folder> _folders;
    std::map<int, QByteArray> _paths;
};

}  // namespace pelorinnews
