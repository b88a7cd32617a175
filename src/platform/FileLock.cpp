#include "FileLock.h"

#include "FileDescriptor.h"
#include "RegularFile.h"

#include <QDeadlineTimer>
#include <QFile>

#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace pelorinnews {

namespace {

// QLockFile itself would wait 100, 200 and 400 ms between its tries: too long where several
// processes each need the lock for some milliseconds.
constexpr std::chrono::milliseconds retryInterval{5};
// QLockFile creates the file, locks it and writes its process id, in well under a millisecond.
constexpr std::chrono::milliseconds maxEmptyAge{100};

std::chrono::nanoseconds sinceChange(const struct stat &file) {
    struct timespec now {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return std::chrono::seconds(now.tv_sec - file.st_ctim.tv_sec) +
           std::chrono::nanoseconds(now.tv_nsec - file.st_ctim.tv_nsec);
}

}  // namespace

FileLock::FileLock(const QString &path, std::chrono::milliseconds timeout) : _file(path) {
    if (!RegularFile::isRegularOrAbsent(path))
        return;
    removeAbandoned(path);
    const QDeadlineTimer deadline(timeout);
    while (!_file.tryLock(0) && _file.error() == QLockFile::LockFailedError &&
           !deadline.hasExpired())
        std::this_thread::sleep_for(retryInterval);
}

void FileLock::removeAbandoned(const QString &path) {
    const QByteArray name = QFile::encodeName(path);
    struct stat state {};
    const auto isEmpty = [&state] { return S_ISREG(state.st_mode) && state.st_size == 0; };
    // Zero for a file of the future, too: the clock may have been set back.
    const auto timeToMaxAge = [&state] {
        const auto age = sinceChange(state);
        return age >= age.zero() && age < maxEmptyAge ? maxEmptyAge - age : age.zero();
    };
    if (::lstat(name.constData(), &state) != 0 || !isEmpty())
        return;
    std::this_thread::sleep_for(timeToMaxAge());
    const FileDescriptor file(
        ::open(name.constData(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    // By now it may be another process's new file. QLockFile locks a file right after its creation,
    // until it removes the file.
    if (!file.isValid() || ::fstat(file.get(), &state) != 0 || !isEmpty() ||
        timeToMaxAge() > std::chrono::nanoseconds::zero() ||
        ::flock(file.get(), LOCK_EX | LOCK_NB) != 0)
        return;
    // Only the holder of the lock removes the file, so the name keeps its file from here on.
    struct stat named {};
    if (::lstat(name.constData(), &named) == 0 && named.st_ino == state.st_ino &&
        named.st_dev == state.st_dev)
        ::unlink(name.constData());
}

}  // namespace pelorinnews
