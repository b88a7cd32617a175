#pragma once

#include "FileIndexQuery.h"
#include "FileWalk.h"
#include "FolderWatch.h"
#include "SearchScope.h"
#include "platform/BackgroundTask.h"
#include "platform/EntryPattern.h"
#include "platform/FileDescriptor.h"
#include "platform/GuardedSlot.h"

#include <QByteArray>
#include <QObject>
#include <QStringList>

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <vector>

class QSocketNotifier;

namespace pelorinnews {

/// Runs the search of a metadata query on its own thread: combines the index's replies, the walk of
/// the disks and the events of the watched folders.
///
/// The walk reads every folder, including those that the index covers: the index skips some of
/// their subfolders (hidden ones, ones under version control, ...) and does not tell which. After
/// the walk, the index reports changes in the folders that it covers.
class MetadataQueryWorker : public QObject {
    Q_OBJECT

public:
    struct Search {
        EntryPattern predicate;
        QStringList scopes;
        QByteArray home;
        std::vector<QByteArray> applicationFolders;
        FileWalk::Bounds remoteBounds;  // of each walk on a remote file system
    };

    enum class News { Gathered, Updated };
    using Tell = std::function<void(const QStringList &paths, News news)>;

    /// New folders are watched, too, down to this many levels below a watched folder.
    static constexpr int maxLevel = 3;

    /// Searches until `task` is stopped.
    static void run(BackgroundTask &task, const Search &search, Tell tell);

private:
    struct WalkResult {
        FileDescriptor arrived;
        GuardedSlot<std::vector<QByteArray>> matches;
        GuardedSlot<std::vector<QByteArray>> unfinished;  // roots whose walk was cut short
    };

    MetadataQueryWorker(const Search &search, Tell listener);
    ~MetadataQueryWorker() override;

    void start();
    void walk(std::vector<QByteArray> roots);
    void walkEnded(const std::vector<QByteArray> &roots, const WalkResult &result);
    void indexAnswered(const std::vector<QByteArray> &paths);
    void mountsChanged();
    void foldersChanged();
    void folderAppeared(const QByteArray &path, int level);

    void watchApplicationFolders();
    void watchAroundMatches();
    bool watchFolder(const QByteArray &folder, int level, int depth);

    void consider(const QByteArray &path);
    void considerFound(const QByteArray &folder);
    void settle();

    EntryPattern _pattern;
    FileWalk::Bounds _bounds;
    QByteArray _home;
    SearchScope _scope;
    std::vector<QByteArray> _applicationFolders;
    Tell _tell;

    std::set<QByteArray> _found;
    std::set<QByteArray> _unfinished;  // folders that no walk has read completely
    bool _hasChanged = false;
    bool _hasWalked = false;
    bool _hasAskedIndex = false;
    bool _hasGathered = false;

    FolderWatch _watch;
    std::map<QByteArray, int> _levels;  // level of each folder whose entries are watched
    FileDescriptor _mountInfo;
    FileIndexQuery _index;
    std::shared_ptr<BackgroundTask> _walkTask;
    std::unique_ptr<QSocketNotifier> _walkArrived;
    std::vector<QByteArray> _rootsToWalk;
};

}  // namespace pelorinnews
