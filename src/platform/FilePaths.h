#pragma once

#include <QByteArray>

#include <cstdlib>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

/// Absolute paths as raw bytes, as the kernel takes them: a name need not be valid text.
namespace pelorinnews::FilePaths {

[[nodiscard]] inline QByteArray parentOf(const QByteArray &path) {
    const qsizetype slash = path.lastIndexOf('/');
    return slash <= 0 ? QByteArrayLiteral("/") : path.left(slash);
}

/// The path of `name` in `folder`. An empty `name` gives `folder` with a slash at its end.
[[nodiscard]] inline QByteArray joined(const QByteArray &folder, const QByteArray &name) {
    return folder.endsWith('/') ? folder + name : folder + '/' + name;
}

/// `path` without symbolic links; empty if there is nothing at `path`.
[[nodiscard]] inline QByteArray canonical(const QByteArray &path) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.constData(), nullptr),
                                                           &std::free);
    return QByteArray(real.get());
}

/// The end of the chain of symbolic links that starts at `path`, even if nothing is there; `path`
/// itself if it is no link. Empty if the chain is a loop or very long. Does not resolve links in
/// the folders above.
[[nodiscard]] inline QByteArray endOfLinks(QByteArray path) {
    constexpr int maxLinks = 40;
    constexpr qsizetype maxTargetBytes = 4096;
    for (int link = 0; link < maxLinks; ++link) {
        QByteArray target(maxTargetBytes, Qt::Uninitialized);
        const auto length = ::readlink(path.constData(), target.data(), maxTargetBytes);
        if (length <= 0)
            return path;
        target.truncate(length);
        path = target.startsWith('/') ? target : joined(parentOf(path), target);
    }
    return {};
}

[[nodiscard]] inline bool exists(const QByteArray &path) {
    struct stat status {};
    return ::lstat(path.constData(), &status) == 0;
}

/// Whether `path` is a folder, and not a link to one.
[[nodiscard]] inline bool isFolder(const QByteArray &path) {
    struct stat status {};
    return ::lstat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace pelorinnews::FilePaths
