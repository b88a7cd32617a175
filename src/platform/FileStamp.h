#pragma once

#include <QtGlobal>

#include <sys/stat.h>

namespace pelorinnews {

/// Identity, size and times of a file. Any change of the file changes its stamp, unless the size
/// stays the same and the change falls into the same tick of the file system's clock.
struct FileStamp {
    quint64 device = 0;
    quint64 number = 0;
    qint64 size = 0;
    /// Last change of the contents (mtime) and of the status (ctime), in nanoseconds since the
    /// epoch.
    qint64 modified = 0;
    qint64 changed = 0;

    [[nodiscard]] static FileStamp of(const struct stat &status) {
        const auto nanoseconds = [](const timespec &time) {
            return qint64{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
        };
        return {status.st_dev, status.st_ino, status.st_size, nanoseconds(status.st_mtim),
                nanoseconds(status.st_ctim)};
    }

    friend bool operator==(const FileStamp &, const FileStamp &) = default;
};

}  // namespace pelorinnews
