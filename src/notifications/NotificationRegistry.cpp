#include "NotificationRegistry.h"

#include "RegistryFormat.h"
#include "platform/FileLock.h"
#include "platform/FilePaths.h"
#include "platform/FileReplacement.h"
#include "platform/RegularFile.h"

#include <QDateTime>
#include <QDir>
#include <QFile>

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace pelorinnews {

namespace {

/// The coarsest tick of a file system's clock. Within one tick after a change, the file may change
/// again and keep its stamp.
constexpr std::chrono::nanoseconds coarsestTick = std::chrono::seconds(2);

bool isSettled(const FileStamp &stamp) {
    const qint64 now = QDateTime::currentMSecsSinceEpoch() * 1'000'000;
    return std::max(stamp.changed, stamp.modified) < now - coarsestTick.count();
}

bool hasIdentity(const RegistryEntry &entry, const QString &identity) {
    return entry.notification.identity == identity;
}

/// Applies `change` to `contents`. Returns the identities of the entries that it erased.
QStringList applyTo(RegistryContents &contents, const RegistryChange &change) {
    std::vector<RegistryEntry> &entries = contents.entries;
    if (contents.bus != change.bus || contents.server != change.server)
        entries.clear();
    contents.bus = change.bus;
    contents.server = change.server;
    contents.serial = std::max(contents.serial, change.serial) + 1;
    QStringList removed;
    std::erase_if(entries, [&change, &removed](const RegistryEntry &entry) {
        const bool isErased = change.erased.contains(entry.notification.identity);
        if (isErased)
            removed.append(entry.notification.identity);
        return isErased;
    });
    for (const RegistryEntry &added : change.put) {
        const auto found =
            std::find_if(entries.begin(), entries.end(), [&added](const auto &entry) {
                return hasIdentity(entry, added.notification.identity);
            });
        if (found == entries.end())
            entries.push_back(RegistryFormat::kept(added));
        else
            *found = RegistryFormat::kept(added);
    }
    if (entries.size() > RegistryContents::maxEntries) {
        const auto excess = entries.size() - RegistryContents::maxEntries;
        entries.erase(entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(excess));
    }
    return removed;
}

}  // namespace

NotificationRegistry::NotificationRegistry(const QString &folder)
    : _folderPath(folder), _filePath(QDir(folder).filePath(QStringLiteral("notifications.json"))) {}

std::optional<RegistryContents> NotificationRegistry::read() const {
    const auto seen = look();
    return seen ? seen->contents : std::nullopt;
}

std::shared_ptr<const NotificationRegistry::Seen> NotificationRegistry::look() const {
    Error unused;
    auto file = RegularFile::open(_filePath, &unused);
    if (!file)
        return nullptr;
    const auto last = _lastRead.get();
    if (last && last->stamp == file->stamp())
        return last;
    Seen seen{file->stamp(), std::nullopt};
    if (seen.stamp.size <= RegistryFormat::maxFileBytes) {
        QByteArray bytes(seen.stamp.size, Qt::Uninitialized);
        if (!file->read(bytes.data(), bytes.size(), &unused))
            return nullptr;
        seen.contents = RegistryFormat::read(bytes);
    }
    const auto shared = std::make_shared<const Seen>(std::move(seen));
    _lastRead.set(isSettled(shared->stamp) ? shared : nullptr);
    return shared;
}

std::optional<RegistryContents> NotificationRegistry::apply(const RegistryChange &change,
                                                            QStringList *removed) const {
    if (removed)
        removed->clear();
    if (!QDir().mkpath(_folderPath) || !RegularFile::isRegularOrAbsent(_filePath))
        return std::nullopt;
    const FileLock lock(_filePath + QStringLiteral(".lock"), lockTimeout);
    if (!lock.isLocked())
        return std::nullopt;

    const auto seen = look();
    if (!seen && QFile::exists(_filePath))
        return std::nullopt;
    RegistryContents contents =
        seen ? seen->contents.value_or(RegistryContents()) : RegistryContents();
    QStringList erased = applyTo(contents, change);

    FileReplacement file(_filePath);
    // The content of notifications is private.
    file.setPermissions(S_IRUSR | S_IWUSR);
    file.write(RegistryFormat::write(contents));
    // Rename the unparsable file only once the new contents are written: the disk may be full.
    if (seen && !seen->contents && !file.error())
        setAside();
    if (!file.commit())
        return std::nullopt;
    if (removed)
        *removed = std::move(erased);
    return contents;
}

void NotificationRegistry::setAside() const {
    // Renames the target of a symbolic link, not the link: the new file replaces the target.
    const QByteArray target = FilePaths::endOfLinks(QFile::encodeName(_filePath));
    std::rename(target.constData(), (target + ".corrupt").constData());
}

}  // namespace pelorinnews
