#pragma once

#include <QLockFile>
#include <QString>

#include <chrono>

namespace pelorinnews {

/// Holds a lock file until it is destroyed. The lock keeps out other processes, and other FileLock
/// objects in this process. One thread at a time.
class FileLock {
public:
    /// Waits at most `timeout` for the lock file `path`. Does not wait if the lock file cannot be
    /// created, or if `path` is anything but a regular file: reading a pipe would block.
    FileLock(const QString &path, std::chrono::milliseconds timeout);

    /// Removes the lock file `path` if a process was killed just after it had created the file,
    /// when it is still empty. QLockFile, with which QSettings locks as well, would wait half a
    /// minute. Blocks for up to a tenth of a second if the file is that young.
    static void removeAbandoned(const QString &path);

    [[nodiscard]] bool isLocked() const { return _file.isLocked(); }

private:
    QLockFile _file;
};

}  // namespace pelorinnews
