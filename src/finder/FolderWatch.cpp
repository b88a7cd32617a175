#include "FolderWatch.h"

#include "MountTable.h"

#include <array>
#include <sys/inotify.h>

namespace pelorinnews {

FolderWatch::FolderWatch() : _kernelQueue(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {}

bool FolderWatch::watch(const QByteArray &folder, Interest interest) {
    const auto known = _folders.find(folder);
    if (known != _folders.end() && known->second.interest >= interest)
        return false;
    if (known == _folders.end() && _folders.size() >= maxFolders)
        return false;
    std::uint32_t mask = IN_ONLYDIR | IN_DONT_FOLLOW | IN_MASK_ADD | IN_DELETE_SELF | IN_MOVE_SELF;
    if (interest >= Interest::Entries)
        mask |= IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
    if (interest == Interest::EntriesAndTheirContent)
        mask |= IN_ATTRIB | IN_CLOSE_WRITE;
    const int number = ::inotify_add_watch(_kernelQueue.get(), folder.constData(), mask);
    if (number < 0)
        return false;
    _paths[number] = folder;
    _folders.insert_or_assign(folder, Folder{number, interest});
    return true;
}

std::vector<FolderWatch::Change> FolderWatch::takeChanges() {
    std::vector<Change> changes;
    alignas(inotify_event) std::array<char, 16384> buffer;
    for (;;) {
        const ssize_t size = ::read(_kernelQueue.get(), buffer.data(), buffer.size());
        if (size <= 0)
            return changes;
        for (ssize_t offset = 0; offset < size;) {
            const auto *event = reinterpret_cast<const inotify_event *>(buffer.data() + offset);
            offset += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            if ((event->mask & IN_Q_OVERFLOW) != 0) {
                changes.push_back({Change::Kind::ChangesLost, {}, {}});
                continue;
            }
            const auto watched = _paths.find(event->wd);
            if (watched == _paths.end())
                continue;
            const QByteArray folder = watched->second;
            if ((event->mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED)) != 0) {
                forget(folder);
                changes.push_back({Change::Kind::FolderGone, folder, {}});
                continue;
            }
            if (event->len == 0)
                continue;
            Change::Kind kind = Change::Kind::EntryGone;
            if ((event->mask & (IN_CREATE | IN_MOVED_TO)) != 0)
                kind = Change::Kind::EntryAppeared;
            else if ((event->mask & (IN_ATTRIB | IN_CLOSE_WRITE)) != 0)
                kind = Change::Kind::EntryChanged;
            const bool isFolder = (event->mask & IN_ISDIR) != 0;
            if (kind != Change::Kind::EntryChanged || !isFolder)
                changes.push_back({kind, folder, QByteArray(event->name), isFolder});
        }
    }
}

void FolderWatch::forget(const QByteArray &folder) {
    for (auto entry = _folders.lower_bound(folder); entry != _folders.end();) {
        if (!entry->first.startsWith(folder))
            break;
        if (!MountTable::isAtOrBelow(entry->first, folder)) {
            ++entry;
            continue;
        }
        _paths.erase(entry->second.watchNumber);
        ::inotify_rm_watch(_kernelQueue.get(), entry->second.watchNumber);
        entry = _folders.erase(entry);
    }
}

}  // namespace pelorinnews
