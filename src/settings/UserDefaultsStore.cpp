#include "UserDefaultsStore.h"

#include "NestedValues.h"
#include "PreferenceValue.h"
#include "SettingsBackup.h"
#include "platform/FileDescriptor.h"
#include "platform/FileLock.h"
#include "platform/FileReplacement.h"
#include "platform/FileSizeSignal.h"
#include "platform/RegularFile.h"

#include <QCoreApplication>
#include <QDir>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QList>
#include <QSet>
#include <QThread>

#include <algorithm>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <numeric>
#include <optional>
#include <sys/stat.h>
#include <utility>

namespace pelorinnews {

namespace {

/// Whether QSettings may open the file at `path`: it opens any kind of file, and opening a pipe
/// blocks; and deeply nested values in the file overflow its stack.
bool isUsable(const QString &path) {
    return RegularFile::isRegularOrAbsent(path) && NestedValues::areReadable(path);
}

/// `path`, or a path where no file can exist if QSettings must not open the file.
QString usablePath(const QString &path) {
    return isUsable(path) ? path : QStringLiteral("/dev/null") + path;
}

/// Stamp of the file at `path`, to notice another version of it; the default stamp if there is
/// none.
FileStamp stampOf(const QString &path) {
    struct stat status {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return {};
    FileStamp stamp = FileStamp::of(status);
    // A hard link, as each backup makes one, changes this time, but not the contents.
    stamp.changed = 0;
    return stamp;
}

/// The names of the keys in the settings file at `path`, as its lines spell them; absent if reading
/// it fails. Empty if there is no file, or one that is too large to look at.
std::optional<QSet<QString>> keysInFile(const QString &path) {
    QSet<QString> keys;
    if (stampOf(path).size > SettingsBackup::maxFileBytes)
        return keys;
    Error unused;
    const auto contents = RegularFile::contents(path, SettingsBackup::maxFileBytes, &unused);
    if (!contents && QFile::exists(path))
        return std::nullopt;
    const QByteArray bytes = contents.value_or(QByteArray());
    QString section;
    bool continues = false;
    const QList<QByteArray> lines = bytes.split('\n');
    for (const QByteArray &line : lines) {
        const QString text = QString::fromUtf8(line).trimmed();
        const bool continued = std::exchange(continues, text.endsWith(QLatin1Char('\\')));
        if (continued || text.startsWith(QLatin1Char(';')))
            continue;
        if (text.startsWith(QLatin1Char('[')) && text.endsWith(QLatin1Char(']')))
            section = text == QLatin1String("[General]") ? QString()
                                                         : text.mid(1, text.size() - 2) + u'/';
        else if (const qsizetype end = text.indexOf(QLatin1Char('=')); end > 0)
            keys.insert(section + text.left(end).trimmed());
    }
    return keys;
}

/// Whether QSettings takes one version of the file for the other: it compares only the size, and
/// the time in milliseconds.
bool areTakenForOne(const FileStamp &one, const FileStamp &other) {
    constexpr qint64 millisecond = 1'000'000;
    return one != other && one.size == other.size &&
           one.modified / millisecond == other.modified / millisecond;
}

/// Estimated size of a text in the file, in bytes.
qint64 roomFor(const QString &text) {
    constexpr qint64 overhead = 64;
    return text.toUtf8().size() + overhead;
}

qint64 sumOf(const QHash<QString, qint64> &sizes) {
    return std::accumulate(sizes.cbegin(), sizes.cend(), qint64{0});
}

}  // namespace

UserDefaultsStore::UserDefaultsStore(const QString &path)
    : UserDefaultsStore(usablePath(path), stampOf(usablePath(path))) {}

UserDefaultsStore::UserDefaultsStore(const QString &path, const FileStamp &stampBefore)
    : QSettings(path, QSettings::IniFormat), _stampRead(stampBefore) {
    if (const QCoreApplication *application = QCoreApplication::instance())
        moveToThread(application->thread());
    const auto isUnread = [this] {
        const auto stored = keysInFile(fileName());
        const QStringList read = allKeys();
        if (!stored)
            return read.isEmpty();
        return read.size() < stored->size() && status() != QSettings::FormatError &&
               !stored->intersects(QSet<QString>(read.begin(), read.end()));
    };
    if (stampOf(path) == stampBefore && !isUnread())
        return;
    readAgain();
    // If another process has changed the file since, the next `sync` reads it.
    _isUnread = isUnread() && stampOf(path) == _stampRead;
}

void UserDefaultsStore::release(UserDefaultsStore *store) {
    // If another thread drops the last reference, the main thread may be inside this object's
    // `event`: let the object's own thread delete it.
    if (store->thread() == QThread::currentThread())
        flushAndDelete(store);
    else
        QMetaObject::invokeMethod(
            store, [store] { flushAndDelete(store); }, Qt::QueuedConnection);
}

void UserDefaultsStore::flushAndDelete(UserDefaultsStore *store) {
    if (store->flush()) {
        delete store;
        return;
    }
    static std::mutex mutex;
    static QList<UserDefaultsStore *> &kept =
        *std::make_unique<QList<UserDefaultsStore *>>().release();
    const std::lock_guard lock(mutex);
    kept.append(store);
}

QVariant UserDefaultsStore::read(const QString &key) const {
    const std::lock_guard lock(_mutex);
    if (key.isEmpty())
        return {};
    const QVariant stored = value(key);
    return stored.isValid() ? stored : _defaults.value(key);
}

void UserDefaultsStore::write(const QString &key, const QVariant &newValue) {
    const std::lock_guard lock(_mutex);
    if (key.isEmpty())
        return;
    if (PreferenceValue::isAbsent(newValue))
        remove(key);
    else
        setValue(key, newValue);
    _unwritten.insert(key, roomFor(key) + roomFor(newValue.toString()));
    // After a failed write, post the update event here: QSettings posts it once, and not again
    // before a write has succeeded.
    if (std::exchange(_isRefused, false))
        QCoreApplication::postEvent(this, new QEvent(QEvent::UpdateRequest));
}

void UserDefaultsStore::addDefaults(const QVariantMap &added) {
    const std::lock_guard lock(_mutex);
    _defaults.insert(added);
}

bool UserDefaultsStore::flush() {
    const std::lock_guard lock(_mutex);
    _isRefused = !writeOut();
    return !_isRefused;
}

bool UserDefaultsStore::event(QEvent *event) {
    // Lock only for the event that writes: another event may be the queued call of
    // `flushAndDelete`, which takes the lock itself and deletes this object.
    if (event->type() != QEvent::UpdateRequest)
        return QSettings::event(event);
    const std::lock_guard lock(_mutex);
    // After a failed write, do not retry on every turn of the event loop.
    if (!_isRefused)
        _isRefused = !writeOut();
    return true;
}

/// Writes pending values and reads changes by other processes. False if something stays unwritten.
bool UserDefaultsStore::writeOut() {
    const bool isChanged = !_unwritten.isEmpty();
    if (_isUnread)
        return !isChanged;
    const FileSizeSignal signal;
    // If the lock file is a pipe, QSettings would block on opening it.
    if (!isUsable(fileName()) ||
        !RegularFile::isRegularOrAbsent(fileName() + QStringLiteral(".lock")))
        return !isChanged;
    FileLock::removeAbandoned(fileName() + QStringLiteral(".lock"));
    if (isChanged)
        QDir().mkpath(QFileInfo(fileName()).path());
    // Back up even without changes of our own: `sync` also writes what the host's own QSettings has
    // not written yet.
    SettingsBackup backup(fileName());
    if (isChanged &&
        !(backup.isKept() && backup.hasRoomFor(sumOf(_unwritten)) && keepDamagedFile()))
        return false;
    if (_stampRead.number == 0 || areTakenForOne(stampOf(fileName()), _stampRead))
        touch();
    const FileStamp before = stampOf(fileName());
    sync();
    _stampRead = stampOf(fileName());
    const QVariantMap wanted = everything();
    const auto outcome = backup.check(wanted.size());
    if (outcome == SettingsBackup::Outcome::Restored)
        reapply(wanted);
    if (outcome == SettingsBackup::Outcome::Whole) {
        _unwritten.clear();
        // While QSettings writes, it holds its lock, so that no other process changes the file.
        if (_stampRead != before && !isChanged)
            readAgain();
    }
    // Report failure after every restore, even if the file lacks only values of the host's own
    // QSettings. `reapply` has set these values in this object as well, and its destructor would
    // write them without a backup. `release` leaks an object that reports failure.
    return outcome != SettingsBackup::Outcome::Restored && _unwritten.isEmpty();
}

/// Gives the file a time that QSettings has not seen, so that it reads the file again: later than
/// now, than the file's own time, and than any that this object has seen or set. A no-op for
/// another user's file.
void UserDefaultsStore::touch() {
    const FileDescriptor file(
        ::open(QFile::encodeName(fileName()).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    struct timespec now {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    if (!file.isValid() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return;
    constexpr qint64 millisecond = 1'000'000;
    constexpr qint64 second = 1000 * millisecond;
    _touched = std::max({_touched, _stampRead.modified, FileStamp::of(status).modified,
                         qint64{now.tv_sec} * second + now.tv_nsec}) +
               millisecond;
    const struct timespec times[2] = {{0, UTIME_OMIT}, {_touched / second, _touched % second}};
    ::futimens(file.get(), times);
}

/// For use after a read during which another process wrote the file. QSettings looks up the file's
/// time after it has read it, so it may take the earlier version for the present one.
void UserDefaultsStore::readAgain() {
    constexpr int maxReads = 5;
    for (int count = 0; count < maxReads; ++count) {
        touch();
        const FileStamp before = stampOf(fileName());
        sync();
        _stampRead = stampOf(fileName());
        // Another file may have got the number and the time of an earlier one, but not our time.
        if (_stampRead == before && before.modified == _touched)
            return;
    }
    // It may have read any of the versions: let the next `writeOut` read again.
    _stampRead.number = 0;
}

QVariantMap UserDefaultsStore::everything() const {
    QVariantMap all;
    const QStringList keys = allKeys();
    for (const QString &key : keys)
        all.insert(key, value(key));
    return all;
}

/// For use after a restore, when QSettings assumes that the file holds `wanted`. Rereads the
/// restored file, then sets and removes values until they match `wanted` again.
void UserDefaultsStore::reapply(const QVariantMap &wanted) {
    sync();
    const QVariantMap stored = everything();
    for (auto each = wanted.cbegin(); each != wanted.cend(); ++each) {
        if (!stored.contains(each.key()) || stored.value(each.key()) != each.value())
            setValue(each.key(), each.value());
    }
    for (auto each = stored.cbegin(); each != stored.cend(); ++each) {
        if (!wanted.contains(each.key()))
            remove(each.key());
    }
}

/// Copies the file if it is damaged. False if that copy fails.
bool UserDefaultsStore::keepDamagedFile() {
    if (_damageLookedFor)
        return true;
    // QSettings parses a section on first access, and detects damage only then.
    static_cast<void>(allKeys());
    _damageLookedFor = status() != QSettings::FormatError || copyDamagedFile();
    return _damageLookedFor;
}

bool UserDefaultsStore::copyDamagedFile() const {
    const QString name = fileName() + QStringLiteral(".damaged");
    constexpr int maxCopies = 9;
    for (int number = 1; number <= maxCopies; ++number) {
        const QString copy = number == 1 ? name : name + QLatin1Char('-') + QString::number(number);
        if (!QFileInfo::exists(copy))
            return FileReplacement::copy(fileName(), copy, SettingsBackup::maxFileBytes) ||
                   !QFile::exists(fileName());
    }
    return true;
}

}  // namespace pelorinnews
