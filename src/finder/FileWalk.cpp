#include "FileWalk.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <utility>

namespace pelorinnews {

namespace {

// Bytes that one getdents call fills: some hundred entries, so that `stop` is noticed soon.
constexpr std::size_t bufferSize = std::size_t{32} * 1024;
constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;

bool isFolder(int parent, const dirent64 &entry) {
    if (entry.d_type != DT_UNKNOWN)
        return entry.d_type == DT_DIR;
    struct stat status {};
    return ::fstatat(parent, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISDIR(status.st_mode);
}

}  // namespace

FileWalk::FileWalk(EntryPattern wanted) : _pattern(std::move(wanted)), _buffer(bufferSize) {}

bool FileWalk::run(const QByteArray &folder, const std::atomic<bool> &stop, const Bounds &bounds) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point started = Clock::now();
    const quint64 entriesBefore = _entries;
    bool isCut = false;
    const auto mayGoOn = [&] {
        isCut = isCut || stop || _entries - entriesBefore > bounds.entries ||
                std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - started) >=
                    bounds.time;
        return !isCut;
    };
    _top = folder.endsWith('/') ? folder : folder + '/';
    _topFolder = FileDescriptor(::open(folder.constData(), folderFlags));
    struct stat status {};
    if (!_topFolder.isValid() || ::fstat(_topFolder.get(), &status) != 0)
        return true;
    _topDevice = status.st_dev;
    _unread = {QByteArray()};
    while (!_unread.empty() && mayGoOn()) {
        const QByteArray next = std::move(_unread.back());
        _unread.pop_back();
        readFolder(next, mayGoOn);
    }
    _unread.clear();
    _topFolder = FileDescriptor();
    return !isCut;
}

FileDescriptor FileWalk::openFolder(const QByteArray &relative) const {
    const char *const path = relative.isEmpty() ? "." : relative.constData();
    open_how how{};
    how.flags = folderFlags;
    how.resolve = RESOLVE_NO_XDEV | RESOLVE_NO_SYMLINKS;
    const long opened = ::syscall(SYS_openat2, _topFolder.get(), path, &how, sizeof how);
    if (opened >= 0)
        return FileDescriptor(static_cast<int>(opened));
    if (errno != ENOSYS && errno != EPERM)
        return {};
    // Fallback for an old kernel, or a sandbox, without openat2: detects a folder on another
    // device, but not another mount of the same device.
    FileDescriptor folder(::openat(_topFolder.get(), path, folderFlags));
    struct stat status {};
    const bool stays =
        folder.isValid() && ::fstat(folder.get(), &status) == 0 && status.st_dev == _topDevice;
    return stays ? std::move(folder) : FileDescriptor();
}

template <typename MayGoOn>
void FileWalk::readFolder(const QByteArray &relative, const MayGoOn &mayGoOn) {
    const FileDescriptor folder = openFolder(relative);
    if (!folder.isValid())
        return;
    const QByteArray prefix = relative.isEmpty() ? relative : relative + '/';
    while (mayGoOn()) {
        const auto byteCount = ::getdents64(folder.get(), _buffer.data(), _buffer.size());
        if (byteCount <= 0)
            return;
        readEntries(folder.get(), prefix, byteCount);
    }
}

void FileWalk::readEntries(int folder, const QByteArray &prefix, qsizetype byteCount) {
    for (qsizetype offset = 0; offset < byteCount;) {
        const auto *entry =
            reinterpret_cast<const dirent64 *>(_buffer.data() + static_cast<std::size_t>(offset));
        offset += entry->d_reclen;
        const std::string_view name(entry->d_name);
        if (name == "." || name == "..")
            continue;
        ++_entries;
        const bool entryIsFolder = isFolder(folder, *entry);
        if (_pattern.mayMatch(name, entryIsFolder))
            _found.push_back(_top + prefix + entry->d_name);
        else if (entryIsFolder)
            _unread.push_back(prefix + entry->d_name);
    }
}

}  // namespace pelorinnews
