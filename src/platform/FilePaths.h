#pragma once

#include <QByteArray>

#include <cstdlib>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

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

/// What `path` leads to: itself, but for a symbolic link the end of its chain, even where nothing
/// is there. Empty where the chain has no end. Links in the folders above stay as they are.
[[nodiscard]] inline QByteArray endOfLinks(QByteArray path) {
    constexpr int longestChain = 40;
    constexpr qsizetype longestTarget = 4096;
    for (int link = 0; link < longestChain; ++link) {
        QByteArray target(longestTarget, Qt::Uninitialized);
        const auto length = ::readlink(path.constData(), target.data(), longestTarget);
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

/// Whether there is a folder, and not a link to one.
[[nodiscard]] inline bool isFolder(const QByteArray &path) {
    struct stat status {};
    return ::lstat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace pelorinnews::FilePaths
