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
    QEventLoop loop;  // before everything that needs the thread's event dispatcher
    QSocketNotifier stopped(task.stopDescriptor(), QSocketNotifier::Read);
    connect(&stopped, &QSocketNotifier::activated, &loop, &QEventLoop::quit);
    MetadataQueryWorker worker(search, std::move(tell));
    worker.start();
    loop.exec();
}

MetadataQueryWorker::MetadataQueryWorker(const Search &search, Tell listener)
    : pattern(search.predicate),
      bounds(search.remoteBounds),
      home(search.home),
      scope(search.scopes, search.home),
      applicationFolders(search.applicationFolders),
      tell(std::move(listener)),
      mountInfo(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)),
      index(pattern.names(),
            [this](const std::vector<QByteArray> &paths) { indexAnswered(paths); }) {}

MetadataQueryWorker::~MetadataQueryWorker() {
    if (walkTask)
        walkTask->stop();
}

void MetadataQueryWorker::start() {
    if (!pattern.names().canMatch()) {
        tell({}, News::gathered);
        return;
    }
    scope.setMounts(MountTable::current());
    if (mountInfo.isValid()) {
        auto *changed = new QSocketNotifier(mountInfo.get(), QSocketNotifier::Exception, this);
        connect(changed, &QSocketNotifier::activated, this, [this] { mountsChanged(); });
    }
    if (watch.descriptor() >= 0) {
        auto *changed = new QSocketNotifier(watch.descriptor(), QSocketNotifier::Read, this);
        connect(changed, &QSocketNotifier::activated, this, [this] { foldersChanged(); });
    }
    watchApplicationFolders();
    walk(scope.roots(pattern));
    index.start();
}

void MetadataQueryWorker::walk(std::vector<QByteArray> roots) {
    if (walkTask) {
        rootsToWalk.insert(rootsToWalk.end(), roots.begin(), roots.end());
        return;
    }
    std::vector<std::pair<QByteArray, FileWalk::Bounds>> tasks;
    for (const QByteArray &root : roots)
        tasks.emplace_back(root, scope.isRemote(root) ? bounds : FileWalk::Bounds());
    auto result = std::make_shared<WalkResult>();
    result->arrived = FileDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (result->arrived.isValid()) {
        walkTask = BackgroundTask::start(
            "pelorin-walk",
            [result, tasks = std::move(tasks), predicate = pattern](BackgroundTask &task) {
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
    if (!walkTask) {
        result->unfinished.set(roots);
        walkEnded(roots, *result);
        return;
    }
    walkArrived = std::make_unique<QSocketNotifier>(result->arrived.get(), QSocketNotifier::Read);
    connect(walkArrived.get(), &QSocketNotifier::activated, this,
            [this, result, walked = std::move(roots)] {
                walkArrived->setEnabled(false);
                walkArrived.release()->deleteLater();
                walkTask.reset();
                walkEnded(walked, *result);
            });
}

void MetadataQueryWorker::walkEnded(const std::vector<QByteArray> &roots,
                                    const WalkResult &result) {
    hasWalked = true;
    for (const QByteArray &root : roots)
        std::erase_if(unfinished, [&root](const QByteArray &folder) {
            return MountTable::isAtOrBelow(folder, root);
        });
    for (const QByteArray &root : result.unfinished.get())
        unfinished.insert(root);
    for (const QByteArray &path : result.matches.get())
        consider(path);
    std::vector<QByteArray> next = std::exchange(rootsToWalk, {});
    if (!next.empty()) {
        std::sort(next.begin(), next.end());
        next.erase(std::unique(next.begin(), next.end()), next.end());
        walk(std::move(next));
    }
    settle();
    // From here on the search only waits, mostly for days.
    releaseLibraryPages({});
}

void MetadataQueryWorker::indexAnswered(const std::vector<QByteArray> &paths) {
    hasAskedIndex = true;
    for (const QByteArray &path : paths)
        consider(path);
    considerFound("/");
    settle();
}

void MetadataQueryWorker::mountsChanged() {
    const MountTable before = scope.mountTable();
    const std::vector<QByteArray> rootsBefore = scope.roots(pattern);
    scope.setMounts(MountTable::current());
    std::vector<QByteArray> changed;
    const std::vector<QByteArray> roots = scope.roots(pattern);
    for (const QByteArray &root : roots) {
        const MountTable::Mount *mount = scope.mountTable().mountOf(root);
        const bool isKnown =
            std::find(rootsBefore.begin(), rootsBefore.end(), root) != rootsBefore.end();
        if (!isKnown || (mount && !before.holds(*mount)))
            changed.push_back(root);
    }
    // An unmounted file system uncovers its mount point: walk that again.
    for (const MountTable::Mount &mount : before.mounts()) {
        if (!scope.mountTable().holds(mount) &&
            scope.contains(joined(mount.mountPoint, {}), pattern))
            changed.push_back(mount.mountPoint);
    }
    std::erase_if(unfinished, [this](const QByteArray &folder) {
        return !scope.contains(joined(folder, {}), pattern);
    });
    if (!changed.empty())
        walk(std::move(changed));
    considerFound("/");
    watchApplicationFolders();
    settle();
}

void MetadataQueryWorker::foldersChanged() {
    using Kind = FolderWatch::Change::Kind;
    for (const FolderWatch::Change &change : watch.takeChanges()) {
        const QByteArray path = joined(change.folder, change.name);
        if (change.kind == Kind::changesLost) {
            considerFound("/");
            walk(scope.roots(pattern));
        } else if (change.kind == Kind::folderGone) {
            considerFound(change.folder);
        } else if (pattern.mayMatch(
                       {change.name.constData(), static_cast<std::size_t>(change.name.size())},
                       change.entryIsFolder)) {
            consider(path);
        } else if (change.entryIsFolder && change.kind == Kind::entryAppeared) {
            folderAppeared(path, levels[change.folder]);
        } else if (change.entryIsFolder) {
            considerFound(path);
        }
    }
    settle();
}

void MetadataQueryWorker::folderAppeared(const QByteArray &path, int level) {
    if (!scope.contains(joined(path, {}), pattern))
        return;
    // Watch before walking: nothing that is added during the walk is missed.
    if (level < deepestLevel)
        watchFolder(path, level + 1, deepestLevel - level - 1);
    walk({path});
    const bool holdsPlace = std::any_of(
        applicationFolders.begin(), applicationFolders.end(),
        [&path](const QByteArray &place) { return MountTable::isAtOrBelow(place, path); });
    if (holdsPlace)
        watchApplicationFolders();
}

void MetadataQueryWorker::watchApplicationFolders() {
    for (const QByteArray &place : applicationFolders) {
        QByteArray folder = place;
        while (folder != "/" && FilePaths::canonical(folder).isEmpty())
            folder = parentOf(folder);
        // Also watch one level below, for vendors' folders. Not below the home folder, nor below
        // the existing parent that stands in for a missing application folder.
        watchFolder(FilePaths::canonical(folder), 0, folder == place && place != home ? 1 : 0);
    }
}

void MetadataQueryWorker::watchAroundMatches() {
    // Watching a folder may reveal another match.
    for (bool isComplete = false; !isComplete;) {
        isComplete = true;
        const std::set<QByteArray> matches = found;
        for (const QByteArray &match : matches) {
            const QByteArray holder = parentOf(match);
            const QByteArray above = parentOf(holder);
            if (watchFolder(holder, 0, 0) || watchFolder(above, 0, 0))
                isComplete = false;
            for (QByteArray folder = above; folder != "/"; folder = parentOf(folder))
                watch.watch(folder, FolderWatch::Interest::itself);
        }
    }
}

bool MetadataQueryWorker::watchFolder(const QByteArray &folder, int level, int depth) {
    if (!scope.contains(joined(folder, {}), pattern) ||
        !watch.watch(folder, pattern.kind() == EntryPattern::Kind::program
                                 ? FolderWatch::Interest::entriesAndTheirContent
                                 : FolderWatch::Interest::entries))
        return false;
    levels[folder] = level;
    // Entries that appeared before the watch was set.
    for (const QByteArray &path : entriesOf(folder)) {
        if (scope.located(path, pattern))
            consider(path);
        else if (depth > 0 && FilePaths::isFolder(path))
            watchFolder(path, level + 1, depth - 1);
    }
    return true;
}

void MetadataQueryWorker::consider(const QByteArray &path) {
    const std::optional<QByteArray> place = scope.located(path, pattern);
    const bool isNews = place ? found.insert(*place).second : found.erase(path) > 0;
    hasChanged = hasChanged || isNews;
}

void MetadataQueryWorker::considerFound(const QByteArray &folder) {
    const std::set<QByteArray> matches = found;
    for (const QByteArray &match : matches) {
        if (MountTable::isAtOrBelow(match, folder))
            consider(match);
    }
}

void MetadataQueryWorker::settle() {
    if (!hasWalked || !hasAskedIndex)
        return;
    watchAroundMatches();
    // Unread folders may hold more matches, so fewer than two prove nothing. If a home folder is
    // too big to read completely, a reported "several" therefore stays when a match disappears.
    if (!unfinished.empty() && found.size() < 2)
        return;
    if (hasGathered && !hasChanged)
        return;
    QStringList paths;
    for (const QByteArray &path : found)
        paths.append(QFile::decodeName(path));
    tell(paths, hasGathered ? News::updated : News::gathered);
    hasGathered = true;
    hasChanged = false;
}

}  // namespace pelorinnews
