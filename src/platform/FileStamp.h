#pragma once

#include <QtGlobal>

#include <sys/stat.h>

namespace pelorinnews {

/// Identity, size and times of a file: a change of the file by anybody changes its stamp, unless it
/// keeps the size and comes within the same tick of the file system's clock.
struct FileStamp {
    quint64 device = 0;
    quint64 number = 0;
    qint64 size = 0;
    /// Of its contents and of itself, in nanoseconds since the epoch.
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
