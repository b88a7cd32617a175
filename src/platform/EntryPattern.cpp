#include "EntryPattern.h"

#include "FileDescriptor.h"

#include <array>
#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

namespace pelorinnews {

namespace {

/// Scripts are no matches: a script with a program's name starts a program that is elsewhere. False
/// for an unreadable file.
bool isScript(const QByteArray &path) {
    const FileDescriptor file(
        ::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    std::array<char, 2> start{};
    return file.isValid() && ::read(file.get(), start.data(), start.size()) == 2 &&
           start[0] == '#' && start[1] == '!';
}

}  // namespace

EntryPattern::EntryPattern(FileNamePattern names, Kind kind)
    : _pattern(std::move(names)), _wanted(kind) {}

bool EntryPattern::mayMatch(std::string_view name, bool isFolder) const {
    return !(isFolder && _wanted == Kind::Program) && _pattern.matches(name);
}

bool EntryPattern::matches(const QByteArray &path) const {
    const QByteArray name = path.mid(path.lastIndexOf('/') + 1);
    struct stat status {};
    if (!_pattern.matches({name.constData(), static_cast<std::size_t>(name.size())}) ||
        ::lstat(path.constData(), &status) != 0 || S_ISLNK(status.st_mode))
        return false;
    if (_wanted == Kind::Program)
        return S_ISREG(status.st_mode) && (status.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0 &&
               !isScript(path);
    return !(S_ISREG(status.st_mode) && name.endsWith(".desktop"));
}

}  // namespace pelorinnews
