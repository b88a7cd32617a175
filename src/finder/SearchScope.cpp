#include "SearchScope.h"

#include "platform/FilePaths.h"

#include <QFile>

#include <algorithm>
#include <string_view>

namespace pelorinnews {

namespace {

/// Whether one of the folders between `outer` and the entry at `path` matches.
bool isInsideMatch(const QByteArray &path, const QByteArray &outer, const EntryPattern &pattern) {
    qsizetype start = outer.endsWith('/') ? outer.size() : outer.size() + 1;
    for (;;) {
        const qsizetype end = path.indexOf('/', start);
        if (end < 0)
            return false;
        const std::string_view name(path.constData() + start,
                                    static_cast<std::size_t>(end - start));
        if (!name.empty() && pattern.mayMatch(name, true))
            return true;
        start = end + 1;
    }
}

}  // namespace

QString SearchScope::localComputer() {
    return QStringLiteral("local computer");
}

SearchScope::SearchScope(const QStringList &scopes, const QByteArray &homeFolder)
    : _isLocalComputer(scopes.contains(localComputer())) {
    if (_isLocalComputer) {
        _folders = {QByteArrayLiteral("/")};
        _home = homeFolder.startsWith('/') ? FilePaths::canonical(homeFolder) : QByteArray();
        return;
    }
    for (const QString &scope : scopes) {
        QByteArray folder = FilePaths::canonical(QFile::encodeName(scope));
        if (!folder.isEmpty())
            _folders.push_back(std::move(folder));
    }
}

void SearchScope::setMounts(MountTable table) {
    _mounts = std::move(table);
    _shownElsewhere.clear();
    for (const MountTable::Mount &mount : _mounts.mounts()) {
        const bool showsHome = isHomesMount(mount);
        if (!showsHome && !(mount.local && mount.type == "overlay"))
            continue;
        const QByteArray shown = showsHome ? _home : mount.mountPoint;
        const QByteArray below = shown.mid(mount.mountPoint == "/" ? 0 : mount.mountPoint.size());
        for (const QByteArray &layer : mount.layers) {
            const QByteArray folder = FilePaths::canonical(
                layer + (mount.root == "/" ? QByteArray() : mount.root) + below);
            if (!folder.isEmpty() && !MountTable::isAtOrBelow(shown, folder))
                _shownElsewhere.push_back(folder);
        }
    }
}

bool SearchScope::isHomesMount(const MountTable::Mount &mount) const {
    return !_home.isEmpty() && mount.remote && _mounts.mountOf(_home) == &mount;
}

bool SearchScope::isRemote(const QByteArray &root) const {
    const MountTable::Mount *mount = _mounts.mountOf(root);
    return mount && mount->remote;
}

std::vector<QByteArray> SearchScope::roots(const EntryPattern &pattern) const {
    std::vector<QByteArray> found;
    if (!_isLocalComputer)
        found = _folders;
    for (const MountTable::Mount &mount : _mounts.mounts()) {
        const QByteArray &point = mount.mountPoint;
        const bool isExtra = _isLocalComputer ||
                             std::find(_folders.begin(), _folders.end(), point) == _folders.end();
        // The trailing slash makes `contains` also check whether the mount point itself matches.
        if (mount.local && isExtra && contains(FilePaths::joined(point, {}), pattern))
            found.push_back(point);
    }
    // The remote home folder comes last: its walk may take long.
    const MountTable::Mount *homesMount = _home.isEmpty() ? nullptr : _mounts.mountOf(_home);
    if (homesMount && homesMount->remote && contains(FilePaths::joined(_home, {}), pattern))
        found.push_back(_home);
    return found;
}

bool SearchScope::contains(const QByteArray &path, const EntryPattern &pattern) const {
    const MountTable::Mount *mount = _mounts.mountOf(path);
    const bool isShownElsewhere = std::any_of(
        _shownElsewhere.begin(), _shownElsewhere.end(),
        [&path](const QByteArray &folder) { return MountTable::isAtOrBelow(path, folder); });
    if (isShownElsewhere)
        return false;
    const bool isInHome = mount && isHomesMount(*mount) && MountTable::isAtOrBelow(path, _home);
    for (const QByteArray &folder : _folders) {
        if (!MountTable::isAtOrBelow(path, folder) || isInsideMatch(path, folder, pattern))
            continue;
        if (isInHome || (mount && mount->local) ||
            (!_isLocalComputer && _mounts.mountOf(folder) == mount))
            return true;
    }
    return false;
}

std::optional<QByteArray> SearchScope::located(const QByteArray &path,
                                               const EntryPattern &pattern) const {
    const qsizetype slash = path.lastIndexOf('/');
    const QByteArray name = path.mid(slash + 1);
    if (slash < 0 ||
        !pattern.names().matches({name.constData(), static_cast<std::size_t>(name.size())}))
        return std::nullopt;
    const QByteArray holder = FilePaths::canonical(FilePaths::parentOf(path));
    if (holder.isEmpty())
        return std::nullopt;
    // An entry belongs to the file system of its folder, even if it is a symbolic link or a mount
    // point.
    QByteArray place = FilePaths::joined(holder, name);
    if (!pattern.matches(place) || !contains(FilePaths::joined(holder, {}), pattern))
        return std::nullopt;
    return place;
}

}  // namespace pelorinnews
