#include "SearchScope.h"

#include "FilePaths.h"

#include <QFile>

#include <algorithm>
#include <string_view>

namespace pelorinnews {

namespace {

/// Whether one of the folders between `outer` and the entry at `path` matches.
bool isInsideMatch(const QByteArray &path, const QByteArray &outer,
                   const FileNamePattern &pattern) {
    qsizetype start = outer.endsWith('/') ? outer.size() : outer.size() + 1;
    for (;;) {
        const qsizetype end = path.indexOf('/', start);
        if (end < 0)
            return false;
        const std::string_view name(path.constData() + start,
                                    static_cast<std::size_t>(end - start));
        if (!name.empty() && pattern.matches(name))
            return true;
        start = end + 1;
    }
}

}  // namespace

QString SearchScope::localComputer() {
    return QStringLiteral("local computer");
}

SearchScope::SearchScope(const QStringList &scopes)
    : isLocalComputer(scopes.contains(localComputer())) {
    if (isLocalComputer) {
        folders = {QByteArrayLiteral("/")};
        return;
    }
    for (const QString &scope : scopes) {
        QByteArray folder = FilePaths::canonical(QFile::encodeName(scope));
        if (!folder.isEmpty())
            folders.push_back(std::move(folder));
    }
}

std::vector<QByteArray> SearchScope::roots(const FileNamePattern &pattern) const {
    std::vector<QByteArray> found;
    if (!isLocalComputer)
        found = folders;
    for (const MountTable::Mount &mount : mounts.mounts()) {
        const QByteArray &point = mount.mountPoint;
        const bool isExtra =
            isLocalComputer || std::find(folders.begin(), folders.end(), point) == folders.end();
        // The slash makes the mount point itself one of the folders that must not match.
        if (mount.local && isExtra && contains(FilePaths::joined(point, {}), pattern))
            found.push_back(point);
    }
    return found;
}

bool SearchScope::contains(const QByteArray &path, const FileNamePattern &pattern) const {
    const MountTable::Mount *mount = mounts.mountOf(path);
    for (const QByteArray &folder : folders) {
        if (!MountTable::isAtOrBelow(path, folder) || isInsideMatch(path, folder, pattern))
            continue;
        if ((mount && mount->local) || (!isLocalComputer && mounts.mountOf(folder) == mount))
            return true;
    }
    return false;
}

std::optional<QByteArray> SearchScope::located(const QByteArray &path,
                                               const FileNamePattern &pattern) const {
    const qsizetype slash = path.lastIndexOf('/');
    const QByteArray name = path.mid(slash + 1);
    if (slash < 0 ||
        !pattern.matches(std::string_view(name.constData(), static_cast<std::size_t>(name.size()))))
        return std::nullopt;
    const QByteArray holder = FilePaths::canonical(FilePaths::parentOf(path));
    if (holder.isEmpty())
        return std::nullopt;
    // The entry belongs to the file system that its folder is on: something mounted at the entry
    // itself, or a link it may be, does not change where it is.
    QByteArray place = FilePaths::joined(holder, name);
    if (!FilePaths::exists(place) || !contains(FilePaths::joined(holder, {}), pattern))
        return std::nullopt;
    return place;
}

}  // namespace pelorinnews
