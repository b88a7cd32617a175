#include "FileLock.h"

#include "RegularFile.h"

#include <QDeadlineTimer>

#include <thread>

namespace pelorinnews {

namespace {

// QLockFile itself would wait 100, 200 and 400 ms between its tries: too long where several
// processes each need the lock for some milliseconds.
constexpr std::chrono::milliseconds retryInterval{5};

}  // namespace

FileLock::FileLock(const QString &path, std::chrono::milliseconds timeout) : _file(path) {
    if (!RegularFile::isRegularOrAbsent(path))
        return;
    const QDeadlineTimer deadline(timeout);
    while (!_file.tryLock(0) && _file.error() == QLockFile::LockFailedError &&
           !deadline.hasExpired())
        std::this_thread::sleep_for(retryInterval);
}

}  // namespace pelorinnews
