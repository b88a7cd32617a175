#pragma once

#include <QLockFile>
#include <QString>

#include <chrono>

namespace pelorinnews {

/// Holds a lock file, which keeps out other processes and other objects of this one, until it is
/// destroyed. One thread at a time.
class FileLock {
public:
    /// Waits at most `timeout` for the lock file `path`. Does not wait if none can be made, or if
    /// `path` is anything but a regular file: reading a pipe would block.
    FileLock(const QString &path, std::chrono::milliseconds timeout);

    [[nodiscard]] bool isLocked() const { return _file.isLocked(); }

private:
    QLockFile _file;
};

}  // namespace pelorinnews
