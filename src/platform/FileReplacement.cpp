#include "FileReplacement.h"

#include "FileError.h"
#include "FilePaths.h"
#include "FileSizeSignal.h"
#include "RegularFile.h"
#include "TemporaryNames.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>

namespace pelorinnews {

namespace {

constexpr mode_t permissionBits = 0777;

QByteArray absolutePath(const QString &path) {
    return QFile::encodeName(QDir::isRelativePath(path) ? QDir::current().filePath(path) : path);
}

/// Whether the error `number` only means that the file system does not support the operation. That
/// does not count as a failed write.
bool isUnsupported(int number) {
    return number == EINVAL || number == ENOSYS || number == EOPNOTSUPP || number == EROFS;
}

}  // namespace

FileReplacement::FileReplacement(const QString &path)
    : _target(FilePaths::endOfLinks(absolutePath(path))) {
    if (!checkTarget())
        return;
    TemporaryNames::removeAbandoned(_target);
    const QByteArray name = TemporaryNames::beside(_target);
    constexpr mode_t asTheProcessGives = 0666;
    _file = FileDescriptor(
        ::open(name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, asTheProcessGives));
    if (!_file.isValid()) {
        fail(FileError::fromSystem(QFileDevice::OpenError, errno));
        return;
    }
    _temporary = name;
    struct stat before {};
    if (::stat(_target.constData(), &before) == 0)
        static_cast<void>(::fchmod(_file.get(), before.st_mode & permissionBits));
}

FileReplacement::~FileReplacement() {
    if (!_temporary.isEmpty())
        ::unlink(_temporary.constData());
}

bool FileReplacement::fail(const Error &reason) {
    if (!_problem)
        _problem = reason;
    return false;
}

bool FileReplacement::checkTarget() {
    struct stat status {};
    if (_target.isEmpty())
        return fail(FileError::fromSystem(QFileDevice::OpenError, ELOOP));
    if (::lstat(_target.constData(), &status) != 0)
        return errno == ENOENT || fail(FileError::fromSystem(QFileDevice::OpenError, errno));
    if (!S_ISREG(status.st_mode))
        return fail(FileError::notRegular());
    return ::faccessat(AT_FDCWD, _target.constData(), W_OK, AT_EACCESS) == 0 ||
           fail(FileError::fromSystem(QFileDevice::OpenError, errno));
}

bool FileReplacement::copy(const QString &from, const QString &to, qint64 maxBytes) {
    Error unused;
    struct stat status {};
    const auto bytes = RegularFile::contents(from, maxBytes, &unused);
    if (!bytes || ::stat(QFile::encodeName(from).constData(), &status) != 0)
        return false;
    FileReplacement file(to);
    file.setPermissions(status.st_mode & permissionBits);
    file.write(*bytes);
    return file.commit().has_value();
}

void FileReplacement::setPermissions(mode_t permissions) {
    if (!_problem && ::fchmod(_file.get(), permissions) != 0)
        fail(FileError::fromSystem(QFileDevice::WriteError, errno));
}

bool FileReplacement::reserve(qint64 size) {
    if (_problem)
        return false;
    const FileSizeSignal signal;
    const int number = size > 0 ? ::posix_fallocate(_file.get(), 0, size) : 0;
    return number == 0 || isUnsupported(number) ||
           fail(FileError::fromSystem(QFileDevice::WriteError, number));
}

bool FileReplacement::write(QByteArrayView bytes) {
    const FileSizeSignal signal;
    while (!_problem && !bytes.isEmpty()) {
        const auto written =
            ::write(_file.get(), bytes.data(), static_cast<std::size_t>(bytes.size()));
        if (written >= 0)
            bytes = bytes.sliced(written);
        else if (errno != EINTR)
            fail(FileError::fromSystem(QFileDevice::WriteError, errno));
    }
    return !_problem;
}

std::optional<FileStamp> FileReplacement::commit() {
    if (_problem)
        return std::nullopt;
    // Network file systems, and those with delayed allocation, report a full disk only at
    // `fdatasync`. The call also prevents a power failure from leaving an empty file under the new
    // name.
    while (::fdatasync(_file.get()) != 0) {
        if (errno == EINTR)
            continue;
        if (isUnsupported(errno))
            break;
        fail(FileError::fromSystem(QFileDevice::WriteError, errno));
        return std::nullopt;
    }
    struct stat before {};
    struct stat after {};
    if (::fstat(_file.get(), &before) != 0)
        fail(FileError::fromSystem(QFileDevice::WriteError, errno));
    else if (checkTarget() && std::rename(_temporary.constData(), _target.constData()) != 0)
        fail(FileError::fromSystem(QFileDevice::RenameError, errno));
    if (_problem)
        return std::nullopt;
    _temporary.clear();
    // Renaming changes only the status-change time (ctime). Read it from the open descriptor: the
    // name may lead to another writer's file by now.
    FileStamp stamp = FileStamp::of(before);
    if (::fstat(_file.get(), &after) == 0)
        stamp.changed = FileStamp::of(after).changed;
    return stamp;
}

}  // namespace pelorinnews
