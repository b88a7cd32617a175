#include "UserDefaults.h"

#include "FileReplacement.h"
#include "HostBundle.h"
#include "PreferenceValue.h"
#include "RegularFile.h"
#include "SettingsBackup.h"

#include <QCoreApplication>
#include <QDir>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QList>
#include <QLockFile>
#include <QSettings>
#include <QStandardPaths>
#include <QThread>

#include <mutex>
#include <utility>

namespace pelorinnews {

namespace {

constexpr QLatin1StringView suffix(".conf");

/// The first of `names` that is not empty, made fit to name one folder: slashes lead nowhere.
QString firstName(const QStringList &names) {
    for (QString name : names) {
        name.replace(QLatin1Char('/'), QLatin1Char(' '));
        if (!name.isEmpty() && name != u"." && name != u"..")
            return name;
    }
    return {};
}

}  // namespace

/// The file, with the one lock that guards it and the defaults. A QSettings object writes itself
/// from an event of its thread, when it is synchronized and when it is destroyed: each of them goes
/// through `writeOut`, since a QSettings that has no room destroys its file.
class UserDefaults::Store : public QSettings {
public:
    explicit Store(const QString &path) : QSettings(usablePath(path), QSettings::IniFormat) {
        if (const QCoreApplication *application = QCoreApplication::instance())
            moveToThread(application->thread());
    }

    /// The main thread may be in this object's event while another drops the last reference.
    static void release(Store *store) {
        if (store->thread() == QThread::currentThread())
            end(store);
        else
            QMetaObject::invokeMethod(
                store, [store] { end(store); }, Qt::QueuedConnection);
    }

    QVariant read(const QString &key) const {
        const std::lock_guard lock(mutex);
        if (key.isEmpty())
            return {};
        const QVariant stored = value(key);
        return stored.isValid() ? stored : defaults.value(key);
    }

    void write(const QString &key, const QVariant &newValue) {
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

    void addDefaults(const QVariantMap &added) {
        const std::lock_guard lock(mutex);
        defaults.insert(added);
    }

    /// False where what was set could not be written.
    bool flush() {
        const std::lock_guard lock(mutex);
        isRefused = !writeOut();
        return !isRefused;
    }

protected:
    bool event(QEvent *event) override {
        // Only the turn that writes: another event may be this object's end, lock and all.
        if (event->type() != QEvent::UpdateRequest)
            return QSettings::event(event);
        const std::lock_guard lock(mutex);
        // What could not be written is not tried again in each turn of the event loop.
        if (!isRefused)
            isRefused = !writeOut();
        return true;
    }

private:
    /// QSettings opens whatever is there, and opening a pipe blocks. In its place comes a path
    /// where there can be nothing.
    static QString usablePath(const QString &path) {
        return RegularFile::isRegularOrAbsent(path) ? path : QStringLiteral("/dev/null") + path;
    }

    /// About what a text takes in the file.
    static qint64 roomFor(const QString &text) {
        constexpr qint64 atLeast = 64;
        return text.toUtf8().size() + atLeast;
    }

    static void end(Store *store) {
        if (store->flush()) {
            delete store;
            return;
        }
        // Its destructor would write, whatever room there is.
        static std::mutex mutex;
        static QList<Store *> &kept = *std::make_unique<QList<Store *>>().release();
        const std::lock_guard lock(mutex);
        kept.append(store);
    }

    /// False where something stays unwritten.
    bool writeOut() {
        const bool isChanged = unwritten > 0;
        // A lock file that is a pipe would block QSettings, too.
        if (!RegularFile::isRegularOrAbsent(fileName()) ||
            !RegularFile::isRegularOrAbsent(fileName() + QStringLiteral(".lock")))
            return !isChanged;
        if (isChanged)
            QDir().mkpath(QFileInfo(fileName()).path());
        // Without changes of ours, those that the host's own QSettings has not written yet are.
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
        return unwritten == 0;
    }

    QVariantMap everything() const {
        QVariantMap all;
        const QStringList keys = allKeys();
        for (const QString &key : keys)
            all.insert(key, value(key));
        return all;
    }

    /// QSettings believes that `wanted` was written: reads what is in the file instead, and sets
    /// what is not.
    void takeBack(const QVariantMap &wanted) {
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
    bool keepDamagedFile() {
        if (damageLookedFor)
            return true;
        // Sections are parsed when they are first asked for, and only then is damage known.
        static_cast<void>(allKeys());
        damageLookedFor = status() != QSettings::FormatError || copyDamagedFile();
        return damageLookedFor;
    }

    bool copyDamagedFile() const {
        const QString name = fileName() + QStringLiteral(".damaged");
        constexpr int mostCopies = 9;
        for (int number = 1; number <= mostCopies; ++number) {
            const QString copy =
                number == 1 ? name : name + QLatin1Char('-') + QString::number(number);
            if (!QFileInfo::exists(copy))
                return FileReplacement::copy(fileName(), copy, SettingsBackup::largestFile) ||
                       !QFile::exists(fileName());
        }
        return true;
    }

    mutable std::mutex mutex;
    QVariantMap defaults;
    bool damageLookedFor = false;
    /// About how many bytes have been set and are not known to be in the file.
    qint64 unwritten = 0;
    /// The last attempt to write failed: the next is made with the next change.
    bool isRefused = false;
};

/// The preferences that hosts of this process have had. What was set last, often while the host
/// quits, has no turn of an event loop left to be written in, so the end of the application object
/// writes it, and the end of the process once more; neither depends on who still holds them.
class UserDefaults::Opened {
public:
    std::shared_ptr<UserDefaults> at(const QString &path) {
        const std::lock_guard lock(mutex);
        if (!std::exchange(isWrittenAtEnd, true))
            qAddPostRoutine([] { instance().applicationEnds(); });
        std::shared_ptr<UserDefaults> &defaults = byPath[path];
        if (!defaults)
            defaults = std::make_shared<UserDefaults>(path);
        return defaults;
    }

    ~Opened() { synchronizeAll(); }

    static Opened &instance() {
        static Opened only;
        return only;
    }

private:
    void applicationEnds() {
        synchronizeAll();
        const std::lock_guard lock(mutex);
        isWrittenAtEnd = false;
    }

    void synchronizeAll() {
        QList<std::shared_ptr<UserDefaults>> all;
        {
            const std::lock_guard lock(mutex);
            all = byPath.values();
        }
        for (const auto &defaults : all)
            defaults->synchronize();
    }

    std::mutex mutex;
    QHash<QString, std::shared_ptr<UserDefaults>> byPath;
    bool isWrittenAtEnd = false;
};

std::shared_ptr<UserDefaults> UserDefaults::standard() {
    return Opened::instance().at(
        filePath(HostBundle::identity(), HostBundle::mainBundle().identifier()));
}

QString UserDefaults::filePath(const HostIdentity &stated, const QString &bundleIdentifier) {
    const QString folder =
        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + QLatin1Char('/');
    const QString organization =
        firstName({stated.organizationName, QCoreApplication::organizationName()});
    if (organization.isEmpty())
        return folder + firstName({bundleIdentifier, QStringLiteral("PelorinNews")}) + suffix;
    return folder + organization + QLatin1Char('/') +
           firstName({stated.applicationName, QCoreApplication::applicationName(), bundleIdentifier,
                      organization}) +
           suffix;
}

UserDefaults::UserDefaults(const QString &filePath) : store(new Store(filePath), &Store::release) {}

UserDefaults::~UserDefaults() = default;

void UserDefaults::registerDefaults(const QVariantMap &defaults) {
    store->addDefaults(defaults);
}

QVariant UserDefaults::objectForKey(const QString &key) const {
    return store->read(key);
}

bool UserDefaults::boolForKey(const QString &key) const {
    return PreferenceValue::toBool(store->read(key));
}

qint64 UserDefaults::integerForKey(const QString &key) const {
    return PreferenceValue::toInteger(store->read(key));
}

QString UserDefaults::stringForKey(const QString &key) const {
    return PreferenceValue::toText(store->read(key));
}

QDateTime UserDefaults::dateForKey(const QString &key) const {
    return PreferenceValue::toDate(store->read(key));
}

void UserDefaults::setValue(const QString &key, const QVariant &value) {
    store->write(key, value);
}

void UserDefaults::removeObjectForKey(const QString &key) {
    store->write(key, {});
}

void UserDefaults::setDateUnlessEarlier(const QString &key, const QDateTime &date) {
    // Between reading and writing no other process may write a later one.
    const QString lockName = store->fileName() + QStringLiteral(".date.lock");
    QLockFile lock(lockName);
    constexpr int longestWait = 1000;
    // Without a lock it is stored all the same: where no lock file can be made, or is no file.
    if (QDir().mkpath(QFileInfo(lockName).path()) && RegularFile::isRegularOrAbsent(lockName))
        lock.tryLock(longestWait);
    synchronize();
    if (dateForKey(key) > date)
        return;
    setValue(key, date);
    synchronize();
}

void UserDefaults::synchronize() {
    store->flush();
}

}  // namespace pelorinnews
