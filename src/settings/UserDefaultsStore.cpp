#include "UserDefaultsStore.h"

#include "PreferenceValue.h"
#include "SettingsBackup.h"
#include "platform/FileReplacement.h"
#include "platform/RegularFile.h"

#include <QCoreApplication>
#include <QDir>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QList>
#include <QThread>

#include <memory>
#include <utility>

namespace pelorinnews {

namespace {

/// QSettings opens any kind of file, and opening a pipe blocks. For the path of anything but a
/// regular file, returns a path where no file can exist.
QString usablePath(const QString &path) {
    return RegularFile::isRegularOrAbsent(path) ? path : QStringLiteral("/dev/null") + path;
}

/// Estimated size of a text in the file, in bytes.
qint64 roomFor(const QString &text) {
    constexpr qint64 atLeast = 64;
    return text.toUtf8().size() + atLeast;
}

}  // namespace

UserDefaultsStore::UserDefaultsStore(const QString &path)
    : QSettings(usablePath(path), QSettings::IniFormat) {
    if (const QCoreApplication *application = QCoreApplication::instance())
        moveToThread(application->thread());
}

void UserDefaultsStore::release(UserDefaultsStore *store) {
    // Another thread may drop the last reference while the main thread is inside this object's
    // `event`.
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
    _unwritten += roomFor(key) + roomFor(newValue.toString());
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
    // Lock only for the event that writes: another event may be the queued `end`, which takes the
    // lock itself and deletes this object.
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
    const bool isChanged = _unwritten > 0;
    // If the file, or its lock file, is a pipe, QSettings would block on opening it.
    if (!RegularFile::isRegularOrAbsent(fileName()) ||
        !RegularFile::isRegularOrAbsent(fileName() + QStringLiteral(".lock")))
        return !isChanged;
    if (isChanged)
        QDir().mkpath(QFileInfo(fileName()).path());
    // Back up even without changes of our own: `sync` also writes what the host's own QSettings has
    // not written yet.
    SettingsBackup backup(fileName());
    if (isChanged && !(backup.isKept() && backup.hasRoomFor(_unwritten) && keepDamagedFile()))
        return false;
    sync();
    const QVariantMap wanted = everything();
    const auto outcome = backup.check(wanted.size());
    if (outcome == SettingsBackup::Outcome::Restored)
        reapply(wanted);
    if (outcome == SettingsBackup::Outcome::Whole)
        _unwritten = 0;
    // After a restore, report failure even if only values of the host's own QSettings are not in
    // the file: `reapply` has set them in this object, too, and its destructor would write them
    // without a backup.
    return outcome != SettingsBackup::Outcome::Restored && _unwritten == 0;
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
