// The promise tested: whatever the file of notifications holds, what is read from it is within the
// limits, and is the same after it has been written and read again.

#include "Input.h"
#include "notifications/RegistryFormat.h"

#include <QDateTime>

#include <algorithm>

using namespace pelorinnews;

namespace {

const QString dateKey = QStringLiteral("originationDate");
const QString nameKey = QStringLiteral("originatorName");

void require(bool holds) {
    if (!holds)
        qFatal("the registry violates one of its guarantees");
}

bool isEqual(const RegistryEntry &one, const RegistryEntry &other) {
    return one.notification == other.notification && one.serverId == other.serverId &&
           one.sender == other.sender && one.withdrawn == other.withdrawn;
}

bool isShort(const QString &text) {
    return text.size() <= RegistryFormat::maxTextLength;
}

void checkLimits(const RegistryContents &contents) {
    require(contents.entries.size() <= RegistryContents::maxEntries);
    require(isShort(contents.bus) && isShort(contents.server));
    QStringList identities;
    for (const RegistryEntry &entry : contents.entries) {
        const UserNotification &notification = entry.notification;
        require(!notification.identity.isEmpty() && entry.serverId > 0);
        require(!identities.contains(notification.identity));
        identities.append(notification.identity);
        require(isShort(notification.identity) && isShort(notification.title) &&
                isShort(notification.informativeText) && isShort(notification.soundName) &&
                isShort(entry.sender));
        for (const QString &key : notification.userInfo.keys())
            require(key == dateKey || key == nameKey);
        const QVariant date = notification.userInfo.value(dateKey);
        require(!date.isValid() || date.toDateTime().isValid());
        require(isShort(notification.userInfo.value(nameKey).toString()));
        require(isEqual(RegistryFormat::kept(entry), entry));
    }
}

void checkRoundTrip(const RegistryContents &contents) {
    RegistryContents written = contents;
    const QByteArray bytes = RegistryFormat::write(written);
    require(bytes.size() <= RegistryFormat::maxFileBytes);
    // The oldest entries may be gone.
    require(written.entries.size() <= contents.entries.size());
    require(std::equal(written.entries.rbegin(), written.entries.rend(), contents.entries.rbegin(),
                       isEqual));
    const auto read = RegistryFormat::read(bytes);
    require(read.has_value());
    require(read->serial == contents.serial && read->bus == contents.bus &&
            read->server == contents.server);
    require(std::equal(read->entries.begin(), read->entries.end(), written.entries.begin(),
                       written.entries.end(), isEqual));
}

void readFile(QByteArrayView bytes) {
    const auto contents = RegistryFormat::read(bytes.toByteArray());
    if (!contents)
        return;
    checkLimits(*contents);
    checkRoundTrip(*contents);
}

/// A text of one line of the input; absent if the line is empty.
QString text(Input &input) {
    const QByteArrayView line = input.bytesUntil('\n');
    return line.isEmpty() ? QString() : QString::fromUtf8(line);
}

/// Reads contents: serial (4 bytes), bus and server (a line each), then for each entry its server
/// id (4 bytes), a byte whose bits say whether it is withdrawn, has a date and is repeated, its
/// date (8 bytes) and five texts (a line each).
void writeContents(Input input) {
    RegistryContents contents;
    contents.serial = input.value<quint32>();
    contents.bus = text(input);
    contents.server = text(input);
    while (!input.isAtEnd()) {
        RegistryEntry entry;
        entry.serverId = std::max<quint32>(input.value<quint32>(), 1);
        const auto bits = input.value<quint8>();
        entry.withdrawn = (bits & 1) != 0;
        const auto date = input.value<qint64>();
        if ((bits & 2) != 0)
            entry.notification.userInfo.insert(dateKey,
                                               QDateTime::fromMSecsSinceEpoch(date, Qt::UTC));
        const QString name = text(input);
        if (!name.isNull())
            entry.notification.userInfo.insert(nameKey, name);
        entry.notification.title = text(input);
        entry.notification.informativeText = text(input);
        entry.notification.soundName = text(input);
        entry.sender = text(input);
        const int count = (bits & 4) != 0 ? bits : 1;
        for (int i = 0; i < count && contents.entries.size() < RegistryContents::maxEntries; ++i) {
            entry.notification.identity = QString::number(contents.entries.size());
            contents.entries.push_back(RegistryFormat::kept(entry));
        }
    }
    checkRoundTrip(contents);
}

}  // namespace

/// The first byte selects what the rest is: a file, or contents to write. The seeds have "f" and
/// "c".
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0)
        return 0;
    const QByteArrayView rest(data + 1, static_cast<qsizetype>(size - 1));
    static_assert('f' % 2 == 0 && 'c' % 2 == 1);
    if (data[0] % 2 == 0)
        readFile(rest);
    else
        writeContents(Input(rest));
    return 0;
}
