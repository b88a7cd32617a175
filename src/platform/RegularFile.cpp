#include "RegularFile.h"

#include "FileError.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <new>

namespace pelorinnews {

namespace {

/// Absent if `file` is invalid or not a regular file.
std::optional<FileStamp> regularStamp(const FileDescriptor &file) {
    struct stat status {};
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    return FileStamp::of(status);
}

}  // namespace

std::optional<RegularFile> RegularFile::open(const QString &path, Error *error) {
    const auto fail = [error](const Error &reason) {
        *error = reason;
        return std::nullopt;
    };
    constexpr int flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    const QByteArray name = QFile::encodeName(path);
    // O_PATH gives a descriptor for what is at `path` without opening it. Opening that descriptor
    // through `/proc` opens exactly the file that was checked, even if the name leads elsewhere by
    // now (no race).
    const FileDescriptor held(::open(name.constData(), O_PATH | O_CLOEXEC));
    if (!held.isValid())
        return fail(FileError::fromSystem(QFileDevice::OpenError, errno));
    if (!regularStamp(held))
        return fail(FileError::notRegular());
    const QByteArray again = QByteArrayLiteral("/proc/self/fd/") + QByteArray::number(held.get());
    FileDescriptor file(::open(again.constData(), flags));
    if (!file.isValid() && errno == ENOENT)
        file = FileDescriptor(::open(name.constData(), flags));
    if (!file.isValid())
        return fail(FileError::fromSystem(QFileDevice::OpenError, errno));
    const auto stamp = regularStamp(file);
    if (!stamp)
        return fail(FileError::notRegular());
    return RegularFile(std::move(file), *stamp);
}

std::optional<QByteArray> RegularFile::contents(const QString &path, qint64 maxBytes,
                                                Error *error) {
    auto file = open(path, error);
    if (!file)
        return std::nullopt;
    const qint64 size = file->stamp().size;
    if (size > maxBytes) {
        *error = FileError::make(QFileDevice::ResourceError, QStringLiteral("The file is too big"));
        return std::nullopt;
    }
    QByteArray bytes;
    try {
        bytes = QByteArray(size, Qt::Uninitialized);
    } catch (const std::bad_alloc &) {
        *error = FileError::fromSystem(QFileDevice::ResourceError, ENOMEM);
        return std::nullopt;
    }
    if (!file->read(bytes.data(), size, error))
        return std::nullopt;
    return bytes;
}

bool RegularFile::isRegularOrAbsent(const QString &path) {
    struct stat status {};
    if (::stat(QFile::encodeName(path).constData(), &status) == 0)
        return S_ISREG(status.st_mode);
    return errno == ENOENT || errno == ENOTDIR;
}

bool RegularFile::read(char *to, qint64 count, Error *error) {
    for (qint64 done = 0; done < count;) {
        const auto got =
            ::read(_descriptor.get(), to + done, static_cast<std::size_t>(count - done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0) {
            *error = got < 0 ? FileError::fromSystem(QFileDevice::ReadError, errno)
                             : FileError::make(QFileDevice::ReadError,
                                               QStringLiteral("The file became shorter"));
            return false;
        }
        done += got;
    }
    return true;
}

bool RegularFile::touch() {
    if (::futimens(_descriptor.get(), nullptr) != 0)
        return false;
    const auto stamp = regularStamp(_descriptor);
    _opened = stamp.value_or(_opened);
    return stamp.has_value();
}

}  // namespace pelorinnews
