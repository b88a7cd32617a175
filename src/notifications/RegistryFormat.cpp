#include "RegistryFormat.h"

#include <QDataStream>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace pelorinnews::RegistryFormat {

namespace {

constexpr int formatVersion = 2;
/// The previous format version; only the user information is stored differently.
constexpr int streamedVersion = 1;
/// JSON integers beyond this are not exact.
constexpr qint64 maxSerial = qint64(1) << 53;
constexpr qint64 maxServerId = 0xffffffffLL;

const QString dateKey = QStringLiteral("originationDate");
const QString nameKey = QStringLiteral("originatorName");

QString cut(const QString &text) {
    if (text.size() <= maxTextLength)
        return text;
    const bool isWithinPair = text.at(maxTextLength - 1).isHighSurrogate();
    return text.left(isWithinPair ? maxTextLength - 1 : maxTextLength);
}

// Omits an absent text, so that it is read back as absent and not as empty.
void put(QJsonObject &object, const QString &key, const QString &text) {
    if (!text.isNull())
        object.insert(key, text);
}

QString textIn(const QJsonObject &object, const QString &key) {
    const QJsonValue value = object.value(key);
    return value.isString() ? cut(value.toString()) : QString();
}

/// The values of the two known keys, if they have the expected types.
QVariantMap knownUserInfo(const QVariantMap &userInfo) {
    QVariantMap known;
    const QVariant date = userInfo.value(dateKey);
    if (date.typeId() == QMetaType::QDateTime && date.toDateTime().isValid())
        known.insert(dateKey, date);
    const QVariant name = userInfo.value(nameKey);
    if (name.typeId() == QMetaType::QString)
        known.insert(nameKey, cut(name.toString()));
    return known;
}

QJsonObject objectFromUserInfo(const QVariantMap &userInfo) {
    QJsonObject object;
    // Store the date in milliseconds, which are exact in any year and time zone.
    if (const auto date = userInfo.constFind(dateKey); date != userInfo.cend())
        object.insert(dateKey, date->toDateTime().toMSecsSinceEpoch());
    if (const auto name = userInfo.constFind(nameKey); name != userInfo.cend())
        object.insert(nameKey, name->toString());
    return object;
}

QVariantMap userInfoFromObject(const QJsonObject &object) {
    QVariantMap userInfo;
    // Every integer may be a date, so none can stand for an absent one.
    const QJsonValue date = object.value(dateKey);
    if (date.toInteger(0) == date.toInteger(1))
        userInfo.insert(dateKey, QDateTime::fromMSecsSinceEpoch(date.toInteger(), Qt::UTC));
    if (object.value(nameKey).isString())
        userInfo.insert(nameKey, textIn(object, nameKey));
    return userInfo;
}

/// Reads the user information of version 1: a QVariantMap as QDataStream writes it. Does not use
/// QDataStream's operator for maps, in which deeply nested maps overflow the stack. Stops at the
/// first value that is neither a text nor a date.
QVariantMap userInfoFromStream(const QString &base64) {
    const QByteArray bytes = QByteArray::fromBase64(base64.toLatin1());
    QDataStream stream(bytes);
    stream.setVersion(QDataStream::Qt_6_4);
    QVariantMap userInfo;
    quint32 count = 0;
    stream >> count;
    for (; count > 0; --count) {
        QString key;
        quint32 type = 0;
        qint8 isNull = 0;
        stream >> key >> type >> isNull;
        QString text;
        QDateTime date;
        if (type == QMetaType::QString)
            stream >> text;
        else if (type == QMetaType::QDateTime)
            stream >> date;
        else
            break;
        if (stream.status() != QDataStream::Ok)
            break;
        userInfo.insert(key, date.isValid() ? QVariant(date) : QVariant(text));
    }
    return knownUserInfo(userInfo);
}

QJsonObject objectFromEntry(const RegistryEntry &entry) {
    QJsonObject object;
    put(object, QStringLiteral("identity"), entry.notification.identity);
    put(object, QStringLiteral("title"), entry.notification.title);
    put(object, QStringLiteral("informativeText"), entry.notification.informativeText);
    put(object, QStringLiteral("soundName"), entry.notification.soundName);
    object.insert(QStringLiteral("userInfo"), objectFromUserInfo(entry.notification.userInfo));
    object.insert(QStringLiteral("id"), qint64{entry.serverId});
    put(object, QStringLiteral("sender"), entry.sender);
    object.insert(QStringLiteral("withdrawn"), entry.withdrawn);
    return object;
}

std::optional<RegistryEntry> entryFromObject(const QJsonObject &object) {
    RegistryEntry entry;
    entry.notification.identity = textIn(object, QStringLiteral("identity"));
    const qint64 id = object.value(QStringLiteral("id")).toInteger(0);
    const QJsonValue userInfo = object.value(QStringLiteral("userInfo"));
    if (entry.notification.identity.isEmpty() || id <= 0 || id > maxServerId)
        return std::nullopt;
    entry.serverId = static_cast<quint32>(id);
    entry.notification.title = textIn(object, QStringLiteral("title"));
    entry.notification.informativeText = textIn(object, QStringLiteral("informativeText"));
    entry.notification.soundName = textIn(object, QStringLiteral("soundName"));
    entry.notification.userInfo = userInfo.isString() ? userInfoFromStream(userInfo.toString())
                                                      : userInfoFromObject(userInfo.toObject());
    entry.sender = textIn(object, QStringLiteral("sender"));
    entry.withdrawn = object.value(QStringLiteral("withdrawn")).toBool();
    return entry;
}

bool isIn(const std::vector<RegistryEntry> &entries, const QString &identity) {
    return std::any_of(entries.begin(), entries.end(), [&identity](const RegistryEntry &entry) {
        return entry.notification.identity == identity;
    });
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

}  // namespace

RegistryEntry kept(RegistryEntry entry) {
    UserNotification &notification = entry.notification;
    notification.title = cut(notification.title);
    notification.informativeText = cut(notification.informativeText);
    notification.soundName = cut(notification.soundName);
    notification.userInfo = knownUserInfo(notification.userInfo);
    return entry;
}

QByteArray write(RegistryContents &contents) {
    std::vector<RegistryEntry> &entries = contents.entries;
    QByteArray bytes = bytesFromContents(contents);
    while (bytes.size() > maxFileBytes && !entries.empty()) {
        // Remove a tenth at a time: speed matters more than keeping as many entries as possible.
        const auto excess = static_cast<std::ptrdiff_t>((entries.size() + 9) / 10);
        entries.erase(entries.begin(), entries.begin() + excess);
        bytes = bytesFromContents(contents);
    }
    return bytes;
}

std::optional<RegistryContents> read(const QByteArray &bytes) {
    const QJsonObject object = QJsonDocument::fromJson(bytes).object();
    const int version = object.value(QStringLiteral("version")).toInt();
    const qint64 serial = object.value(QStringLiteral("serial")).toInteger(-1);
    const QJsonValue entries = object.value(QStringLiteral("notifications"));
    if ((version != formatVersion && version != streamedVersion) || serial < 0 ||
        serial > maxSerial || !entries.isArray())
        return std::nullopt;
    RegistryContents contents;
    contents.serial = static_cast<quint64>(serial);
    contents.bus = textIn(object, QStringLiteral("bus"));
    contents.server = textIn(object, QStringLiteral("server"));
    const QJsonArray array = entries.toArray();
    for (qsizetype index = array.size() - 1;
         index >= 0 && contents.entries.size() < RegistryContents::maxEntries; --index) {
        auto entry = entryFromObject(array.at(index).toObject());
        if (entry && !isIn(contents.entries, entry->notification.identity))
            contents.entries.push_back(std::move(*entry));
    }
    std::reverse(contents.entries.begin(), contents.entries.end());
    return contents;
}

}  // namespace pelorinnews::RegistryFormat
