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

/// QSettings opens whatever is there, and opening a pipe blocks. In its place comes a path where
/// there can be nothing.
QString usablePath(const QString &path) {
    return RegularFile::isRegularOrAbsent(path) ? path : QStringLiteral("/dev/null") + path;
}

/// About what a text takes in the file.
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
    // The main thread may be in this object's event while another drops the last reference.
    if (store->thread() == QThread::currentThread())
        end(store);
    else
        QMetaObject::invokeMethod(
            store, [store] { end(store); }, Qt::QueuedConnection);
}

void UserDefaultsStore::end(UserDefaultsStore *store) {
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
    const std::lock_guard lock(mutex);
    if (key.isEmpty())
        return {};
    const QVariant stored = value(key);
    return stored.isValid() ? stored : defaults.value(key);
}

void UserDefaultsStore::write(const QString &key, const QVariant &newValue) {
    const std::lock_guard lock(mutex);
    if (key.isEmpty())
        return;
    if (PreferenceValue::isAbsent(newValue))
        remove(key);
    else
        setValue(key, newValue);
    unwritten += roomFor(key) + roomFor(newValue.toString());
    // QSettings asks for its event once only, until it has written.
    if (std::exchange(isRefused, false))
        QCoreApplication::postEvent(this, new QEvent(QEvent::UpdateRequest));
}

void UserDefaultsStore::addDefaults(const QVariantMap &added) {
    const std::lock_guard lock(mutex);
    defaults.insert(added);
}

bool UserDefaultsStore::flush() {
    const std::lock_guard lock(mutex);
    isRefused = !writeOut();
    return !isRefused;
}

bool UserDefaultsStore::event(QEvent *event) {
    // Only the turn that writes: another event may be this object's end, lock and all.
    if (event->type() != QEvent::UpdateRequest)
        return QSettings::event(event);
    const std::lock_guard lock(mutex);
    // What could not be written is not tried again in each turn of the event loop.
    if (!isRefused)
        isRefused = !writeOut();
    return true;
}

/// False where something stays unwritten.
bool UserDefaultsStore::writeOut() {
    const bool isChanged = unwritten > 0;
    // A lock file that is a pipe would block QSettings, too.
    if (!RegularFile::isRegularOrAbsent(fileName()) ||
        !RegularFile::isRegularOrAbsent(fileName() + QStringLiteral(".lock")))
        return !isChanged;
    if (isChanged)
        QDir().mkpath(QFileInfo(fileName()).path());
    // Kept without changes of ours, too: what the host's own QSettings has not written yet is
    // written as well.
    SettingsBackup backup(fileName());
    if (isChanged && !(backup.isKept() && backup.hasRoomFor(unwritten) && keepDamagedFile()))
        return false;
    sync();
    const QVariantMap wanted = everything();
    const auto outcome = backup.check(wanted.size());
    if (outcome == SettingsBackup::Outcome::Restored)
        takeBack(wanted);
    if (outcome == SettingsBackup::Outcome::Whole)
        unwritten = 0;
    // What was restored may lack only what the host's own QSettings has not written yet. By now
    // this object holds that, too, and would write it unguarded at its end.
    return outcome != SettingsBackup::Outcome::Restored && unwritten == 0;
}

QVariantMap UserDefaultsStore::everything() const {
    QVariantMap all;
    const QStringList keys = allKeys();
    for (const QString &key : keys)
        all.insert(key, value(key));
    return all;
}

/// QSettings believes that `wanted` was written: reads what is in the file instead, and sets what
/// is not.
void UserDefaultsStore::takeBack(const QVariantMap &wanted) {
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

/// False where there is damage and the file could not be copied.
bool UserDefaultsStore::keepDamagedFile() {
    if (damageLookedFor)
        return true;
    // Sections are parsed when they are first asked for, and only then is damage known.
    static_cast<void>(allKeys());
    damageLookedFor = status() != QSettings::FormatError || copyDamagedFile();
    return damageLookedFor;
}

bool UserDefaultsStore::copyDamagedFile() const {
    const QString name = fileName() + QStringLiteral(".damaged");
    constexpr int mostCopies = 9;
    for (int number = 1; number <= mostCopies; ++number) {
        const QString copy = number == 1 ? name : name + QLatin1Char('-') + QString::number(number);
        if (!QFileInfo::exists(copy))
            return FileReplacement::copy(fileName(), copy, SettingsBackup::largestFile) ||
                   !QFile::exists(fileName());
    }
    return true;
}

}  // namespace pelorinnews
