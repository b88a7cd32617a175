#include "NotificationRegistry.h"

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>
#include <QSaveFile>

#include <algorithm>

namespace pelorinnews {

namespace {

constexpr int formatVersion = 1;
// A registry of the most entries is far below this; anything above is not ours.
constexpr qint64 maximumFileSize = qint64(16) * 1024 * 1024;

// JSON knows neither dates nor integers of 64 bits, so user information goes as Qt's own stream.
QString textFromUserInfo(const QVariantMap &userInfo) {
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_6_4);
    stream << userInfo;
    return QString::fromLatin1(bytes.toBase64());
}

std::optional<QVariantMap> userInfoFromText(const QString &text) {
    const auto decoded =
        QByteArray::fromBase64Encoding(text.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        return std::nullopt;
    QDataStream stream(decoded.decoded);
    stream.setVersion(QDataStream::Qt_6_4);
    QVariantMap userInfo;
    stream >> userInfo;
    if (stream.status() != QDataStream::Ok)
        return std::nullopt;
    return userInfo;
}

// An absent text is left out, so that it comes back absent and not empty.
void put(QJsonObject &object, const QString &key, const QString &text) {
    if (!text.isNull())
        object.insert(key, text);
}

QString textIn(const QJsonObject &object, const QString &key) {
    const QJsonValue value = object.value(key);
    return value.isString() ? value.toString() : QString();
}

QJsonObject objectFromEntry(const RegistryEntry &entry) {
    QJsonObject object;
    put(object, QStringLiteral("identity"), entry.notification.identity);
    put(object, QStringLiteral("title"), entry.notification.title);
    put(object, QStringLiteral("informativeText"), entry.notification.informativeText);
    put(object, QStringLiteral("soundName"), entry.notification.soundName);
    put(object, QStringLiteral("userInfo"), textFromUserInfo(entry.notification.userInfo));
    object.insert(QStringLiteral("id"), static_cast<qint64>(entry.serverId));
    put(object, QStringLiteral("sender"), entry.sender);
    object.insert(QStringLiteral("withdrawn"), entry.withdrawn);
    return object;
}

std::optional<RegistryEntry> entryFromObject(const QJsonObject &object) {
    RegistryEntry entry;
    entry.notification.identity = textIn(object, QStringLiteral("identity"));
    const qint64 id = object.value(QStringLiteral("id")).toInteger(0);
    const auto userInfo = userInfoFromText(textIn(object, QStringLiteral("userInfo")));
    if (entry.notification.identity.isEmpty() || id <= 0 || id > 0xffffffffLL || !userInfo)
        return std::nullopt;
    entry.serverId = static_cast<quint32>(id);
    entry.notification.title = textIn(object, QStringLiteral("title"));
    entry.notification.informativeText = textIn(object, QStringLiteral("informativeText"));
    entry.notification.soundName = textIn(object, QStringLiteral("soundName"));
    entry.notification.userInfo = *userInfo;
    entry.sender = textIn(object, QStringLiteral("sender"));
    entry.withdrawn = object.value(QStringLiteral("withdrawn")).toBool();
    return entry;
}

QByteArray bytesFromContents(const RegistryContents &contents) {
    QJsonArray entries;
    for (const RegistryEntry &entry : contents.entries)
        entries.append(objectFromEntry(entry));
    const QJsonObject object{
        {QStringLiteral("version"), formatVersion},
        {QStringLiteral("serial"), static_cast<qint64>(contents.serial)},
        {QStringLiteral("bus"), contents.bus},
        {QStringLiteral("server"), contents.server},
        {QStringLiteral("notifications"), entries},
    };
    return QJsonDocument(object).toJson();
}

std::optional<RegistryContents> contentsFromBytes(const QByteArray &bytes) {
    const QJsonObject object = QJsonDocument::fromJson(bytes).object();
    const qint64 serial = object.value(QStringLiteral("serial")).toInteger(-1);
    const QJsonValue entries = object.value(QStringLiteral("notifications"));
    if (object.value(QStringLiteral("version")).toInt() != formatVersion || serial < 0 ||
        !entries.isArray())
        return std::nullopt;
    RegistryContents contents;
    contents.serial = static_cast<quint64>(serial);
    contents.bus = textIn(object, QStringLiteral("bus"));
    contents.server = textIn(object, QStringLiteral("server"));
    const QJsonArray array = entries.toArray();
    for (const auto &value : array) {
        // What this version cannot use is passed over; the others are no worse for it.
        if (auto entry = entryFromObject(value.toObject()))
            contents.entries.push_back(std::move(*entry));
    }
    return contents;
}

bool hasIdentity(const RegistryEntry &entry, const QString &identity) {
    return entry.notification.identity == identity;
}

/// Returns the identities that `change` erased.
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
            entries.push_back(added);
        else
            *found = added;
    }
    if (entries.size() > NotificationRegistry::maximumEntries) {
        const auto excess = entries.size() - NotificationRegistry::maximumEntries;
        entries.erase(entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(excess));
    }
    return removed;
}

}  // namespace

NotificationRegistry::NotificationRegistry(const QString &folder)
    : folderPath(folder), filePath(QDir(folder).filePath(QStringLiteral("notifications.json"))) {}

std::optional<RegistryContents> NotificationRegistry::read() const {
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly) || file.size() > maximumFileSize)
        return std::nullopt;
    return contentsFromBytes(file.readAll());
}

std::optional<RegistryContents> NotificationRegistry::apply(const RegistryChange &change,
                                                            QStringList *removed) const {
    if (removed)
        removed->clear();
    if (!QDir().mkpath(folderPath))
        return std::nullopt;
    QLockFile lock(filePath + QStringLiteral(".lock"));
    if (!lock.tryLock(lockTimeout))
        return std::nullopt;

    std::optional<RegistryContents> contents = read();
    if (!contents && QFile::exists(filePath)) {
        const QString aside = filePath + QStringLiteral(".corrupt");
        QFile::remove(aside);
        QFile::rename(filePath, aside);
    }
    if (!contents)
        contents.emplace();
    QStringList erased = applyTo(*contents, change);

    QSaveFile file(filePath);
    if (!file.open(QIODevice::WriteOnly))
        return std::nullopt;
    // Titles of what a person was told are nobody else's business.
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    file.write(bytesFromContents(*contents));
    if (!file.commit())
        return std::nullopt;
    if (removed)
        *removed = std::move(erased);
    return contents;
}

}  // namespace pelorinnews
