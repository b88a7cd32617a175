#pragma once

#include <QByteArray>

#include <cstdlib>
#include <memory>
#include <sys/stat.h>

/// Absolute paths as the bytes that the kernel takes: a name need not be text.
namespace pelorinnews::FilePaths {

[[nodiscard]] inline QByteArray parentOf(const QByteArray &path) {
    const qsizetype slash = path.lastIndexOf('/');
    return slash <= 0 ? QByteArrayLiteral("/") : path.left(slash);
}

/// `name` in `folder`; with an empty name, the folder with a slash at its end.
[[nodiscard]] inline QByteArray joined(const QByteArray &folder, const QByteArray &name) {
    return folder.endsWith('/') ? folder + name : folder + '/' + name;
}

/// Without symbolic links; empty where there is nothing at `path`.
[[nodiscard]] inline QByteArray canonical(const QByteArray &path) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.constData(), nullptr),
                                                           &std::free);
    return QByteArray(real.get());
}

[[nodiscard]] inline bool exists(const QByteArray &path) {
    struct stat status {};
    return ::lstat(path.constData(), &status) == 0;
}

/// Whether there is a folder, and not a link to one.
[[nodiscard]] inline bool isFolder(const QByteArray &path) {
    struct stat status {};
    return ::lstat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace pelorinnews::FilePaths
