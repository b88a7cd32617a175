#include "MetadataQueryWorker.h"

#include "platform/FilePaths.h"
#include "platform/LibraryPages.h"

#include <QEventLoop>
#include <QFile>
#include <QSocketNotifier>

#include <algorithm>
#include <dirent.h>
#include <fcntl.h>
#include <optional>
#include <sys/eventfd.h>
#include <utility>

namespace pelorinnews {

using FilePaths::joined;
using FilePaths::parentOf;

namespace {

std::vector<QByteArray> entriesOf(const QByteArray &folder) {
    std::vector<QByteArray> entries;
    const std::unique_ptr<DIR, int (*)(DIR *)> open(::opendir(folder.constData()), &::closedir);
    while (const dirent64 *entry = open ? ::readdir64(open.get()) : nullptr) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != "..")
            entries.push_back(joined(folder, name));
    }
    return entries;
}

}  // namespace

void MetadataQueryWorker::run(BackgroundTask &task, const Search &search, Tell tell) {
    QEventLoop loop;  // first: creates the event dispatcher that the objects below need
    QSocketNotifier stopped(task.stopDescriptor(), QSocketNotifier::Read);
    connect(&stopped, &QSocketNotifier::activated, &loop, &QEventLoop::quit);
    MetadataQueryWorker worker(search, std::move(tell));
    worker.start();
    loop.exec();
}

MetadataQueryWorker::MetadataQueryWorker(const Search &search, Tell listener)
    : _pattern(search.predicate),
      _bounds(search.remoteBounds),
      _home(search.home),
      _scope(search.scopes, search.home),
      _applicationFolders(search.applicationFolders),
      _tell(std::move(listener)),
      _mountInfo(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)),
      _index(_pattern.names(),
             [this](const std::vector<QByteArray> &paths) { indexAnswered(paths); }) {}

MetadataQueryWorker::~MetadataQueryWorker() {
    if (_walkTask)
        _walkTask->stop();
}

void MetadataQueryWorker::start() {
    if (!_pattern.names().canMatch()) {
        _tell({}, News::Gathered);
        return;
    }
    _scope.setMounts(MountTable::current());
    if (_mountInfo.isValid()) {
        auto *changed = new QSocketNotifier(_mountInfo.get(), QSocketNotifier::Exception, this);
        connect(changed, &QSocketNotifier::activated, this, [this] { mountsChanged(); });
    }
    if (_watch.descriptor() >= 0) {
        auto *changed = new QSocketNotifier(_watch.descriptor(), QSocketNotifier::Read, this);
        connect(changed, &QSocketNotifier::activated, this, [this] { foldersChanged(); });
    }
    watchApplicationFolders();
    walk(_scope.roots(_pattern));
    _index.start();
}

void MetadataQueryWorker::walk(std::vector<QByteArray> roots) {
    if (_walkTask) {
        _rootsToWalk.insert(_rootsToWalk.end(), roots.begin(), roots.end());
        return;
    }
    std::vector<std::pair<QByteArray, FileWalk::Bounds>> tasks;
    tasks.reserve(roots.size());
    for (const QByteArray &root : roots)
        tasks.emplace_back(root, _scope.isRemote(root) ? _bounds : FileWalk::Bounds());
    auto result = std::make_shared<WalkResult>();
    result->arrived = FileDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (result->arrived.isValid()) {
        _walkTask = BackgroundTask::start(
            "pelorin-walk",
            [result, tasks = std::move(tasks), predicate = _pattern](BackgroundTask &task) {
                task.enterIdleClass();
                FileWalk fileWalk(predicate);
                std::vector<QByteArray> unfinishedRoots;
                for (const auto &[root, rootBounds] : tasks) {
                    if (!fileWalk.run(root, task.stopFlag(), rootBounds))
                        unfinishedRoots.push_back(root);
                }
                result->matches.set(fileWalk.matches());
                result->unfinished.set(std::move(unfinishedRoots));
                static_cast<void>(::eventfd_write(result->arrived.get(), 1));
            });
    }
    if (!_walkTask) {
        result->unfinished.set(roots);
        walkEnded(roots, *result);
        return;
    }
    _walkArrived = std::make_unique<QSocketNotifier>(result->arrived.get(), QSocketNotifier::Read);
    connect(_walkArrived.get(), &QSocketNotifier::activated, this,
            [this, result, walked = std::move(roots)] {
                _walkArrived->setEnabled(false);
                _walkArrived.release()->deleteLater();
                _walkTask.reset();
                walkEnded(walked, *result);
            });
}

void MetadataQueryWorker::walkEnded(const std::vector<QByteArray> &roots,
                                    const WalkResult &result) {
    _hasWalked = true;
    for (const QByteArray &root : roots)
        std::erase_if(_unfinished, [&root](const QByteArray &folder) {
            return MountTable::isAtOrBelow(folder, root);
        });
    for (const QByteArray &root : result.unfinished.get())
        _unfinished.insert(root);
    for (const QByteArray &path : result.matches.get())
        consider(path);
    std::vector<QByteArray> next = std::exchange(_rootsToWalk, {});
    if (!next.empty()) {
        std::sort(next.begin(), next.end());
        next.erase(std::unique(next.begin(), next.end()), next.end());
        walk(std::move(next));
    }
    settle();
    // Save memory: from here on the search only waits for changes, often for days.
    releaseLibraryPages({});
}

void MetadataQueryWorker::indexAnswered(const std::vector<QByteArray> &paths) {
    _hasAskedIndex = true;
    for (const QByteArray &path : paths)
        consider(path);
    considerFound("/");
    settle();
}

void MetadataQueryWorker::mountsChanged() {
    const MountTable before = _scope.mountTable();
    const std::vector<QByteArray> rootsBefore = _scope.roots(_pattern);
    _scope.setMounts(MountTable::current());
    std::vector<QByteArray> changed;
    const std::vector<QByteArray> roots = _scope.roots(_pattern);
    for (const QByteArray &root : roots) {
        const MountTable::Mount *mount = _scope.mountTable().mountOf(root);
        const bool isKnown =
            std::find(rootsBefore.begin(), rootsBefore.end(), root) != rootsBefore.end();
        if (!isKnown || (mount && !before.holds(*mount)))
            changed.push_back(root);
    }
    // Unmounting a file system uncovers the folder that was its mount point: walk that folder.
    for (const MountTable::Mount &mount : before.mounts()) {
        if (!_scope.mountTable().holds(mount) &&
            _scope.contains(joined(mount.mountPoint, {}), _pattern))
            changed.push_back(mount.mountPoint);
    }
    std::erase_if(_unfinished, [this](const QByteArray &folder) {
        return !_scope.contains(joined(folder, {}), _pattern);
    });
    if (!changed.empty())
        walk(std::move(changed));
    considerFound("/");
    watchApplicationFolders();
    settle();
}

void MetadataQueryWorker::foldersChanged() {
    using Kind = FolderWatch::Change::Kind;
    for (const FolderWatch::Change &change : _watch.takeChanges()) {
        const QByteArray path = joined(change.folder, change.name);
        if (change.kind == Kind::ChangesLost) {
            considerFound("/");
            walk(_scope.roots(_pattern));
        } else if (change.kind == Kind::FolderGone) {
            considerFound(change.folder);
        } else if (_pattern.mayMatch(
                       {change.name.constData(), static_cast<std::size_t>(change.name.size())},
                       change.entryIsFolder)) {
            consider(path);
        } else if (change.entryIsFolder && change.kind == Kind::EntryAppeared) {
            folderAppeared(path, _levels[change.folder]);
        } else if (change.entryIsFolder) {
            considerFound(path);
        }
    }
    settle();
}

void MetadataQueryWorker::folderAppeared(const QByteArray &path, int level) {
    if (!_scope.contains(joined(path, {}), _pattern))
        return;
    // Watch before walking, so that nothing that is added during the walk is missed.
    if (level < maxLevel)
        watchFolder(path, level + 1, maxLevel - level - 1);
    walk({path});
    const bool holdsPlace = std::any_of(
        _applicationFolders.begin(), _applicationFolders.end(),
        [&path](const QByteArray &place) { return MountTable::isAtOrBelow(place, path); });
    if (holdsPlace)
        watchApplicationFolders();
}

void MetadataQueryWorker::watchApplicationFolders() {
    for (const QByteArray &place : _applicationFolders) {
        QByteArray folder = place;
        while (folder != "/" && FilePaths::canonical(folder).isEmpty())
            folder = parentOf(folder);
        // Also watch one level below, since a vendor may have a folder of its own there. The
        // exceptions are the home folder, and the existing parent that is watched in place of a
        // missing application folder.
        watchFolder(FilePaths::canonical(folder), 0, folder == place && place != _home ? 1 : 0);
    }
}

void MetadataQueryWorker::watchAroundMatches() {
    // Repeat until nothing is added: watching a folder may reveal another match.
    for (bool isComplete = false; !isComplete;) {
        isComplete = true;
        const std::set<QByteArray> matches = _found;
        for (const QByteArray &match : matches) {
            const QByteArray holder = parentOf(match);
            const QByteArray above = parentOf(holder);
            if (watchFolder(holder, 0, 0) || watchFolder(above, 0, 0))
                isComplete = false;
            for (QByteArray folder = above; folder != "/"; folder = parentOf(folder))
                _watch.watch(folder, FolderWatch::Interest::Itself);
        }
    }
}

bool MetadataQueryWorker::watchFolder(const QByteArray &folder, int level, int depth) {
    if (!_scope.contains(joined(folder, {}), _pattern) ||
        !_watch.watch(folder, _pattern.kind() == EntryPattern::Kind::Program
                                  ? FolderWatch::Interest::EntriesAndTheirContent
                                  : FolderWatch::Interest::Entries))
        return false;
    _levels[folder] = level;
    // No event reports the entries that appeared before the watch was set.
    for (const QByteArray &path : entriesOf(folder)) {
        if (_scope.located(path, _pattern))
            consider(path);
        else if (depth > 0 && FilePaths::isFolder(path))
            watchFolder(path, level + 1, depth - 1);
    }
    return true;
}

void MetadataQueryWorker::consider(const QByteArray &path) {
    const std::optional<QByteArray> place = _scope.located(path, _pattern);
    const bool isNews = place ? _found.insert(*place).second : _found.erase(path) > 0;
    _hasChanged = _hasChanged || isNews;
}

void MetadataQueryWorker::considerFound(const QByteArray &folder) {
    const std::set<QByteArray> matches = _found;
    for (const QByteArray &match : matches) {
        if (MountTable::isAtOrBelow(match, folder))
            consider(match);
    }
}

void MetadataQueryWorker::settle() {
    if (!_hasWalked || !_hasAskedIndex)
        return;
    watchAroundMatches();
    // While there are unread folders, which may hold more matches, do not report fewer than two
    // matches: after a report of two, nothing is reported when one of them disappears.
    if (!_unfinished.empty() && _found.size() < 2)
        return;
    if (_hasGathered && !_hasChanged)
        return;
    QStringList paths;
    for (const QByteArray &path : _found)
        paths.append(QFile::decodeName(path));
    _tell(paths, _hasGathered ? News::Updated : News::Gathered);
    _hasGathered = true;
    _hasChanged = false;
}

}  // namespace pelorinnews
