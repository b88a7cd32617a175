#include "UserDefaults.h"

#include "HostBundle.h"
#include "PreferenceValue.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QHash>
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
/// from an event of its thread: that turn takes the lock too.
class UserDefaults::Store : public QSettings {
public:
    explicit Store(const QString &path) : QSettings(path, QSettings::IniFormat) {
        if (const QCoreApplication *application = QCoreApplication::instance())
            moveToThread(application->thread());
    }

    /// The main thread may be in this object's event while another drops the last reference.
    static void release(Store *store) {
        if (store->thread() == QThread::currentThread())
            delete store;
        else
            store->deleteLater();
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
        keepDamagedFile();
        if (PreferenceValue::isAbsent(newValue))
            remove(key);
        else
            setValue(key, newValue);
    }

    void addDefaults(const QVariantMap &added) {
        const std::lock_guard lock(mutex);
        defaults.insert(added);
    }

    void flush() {
        const std::lock_guard lock(mutex);
        sync();
    }

protected:
    bool event(QEvent *event) override {
        // Only the turn that writes: another event may be this object's end, lock and all.
        if (event->type() != QEvent::UpdateRequest)
            return QSettings::event(event);
        const std::lock_guard lock(mutex);
        return QSettings::event(event);
    }

private:
    void keepDamagedFile() {
        if (damageLookedFor)
            return;
        damageLookedFor = true;
        // Sections are parsed when they are first asked for, and only then is damage known.
        static_cast<void>(allKeys());
        if (status() != QSettings::FormatError)
            return;
        const QString name = fileName() + QStringLiteral(".damaged");
        constexpr int mostCopies = 9;
        bool copied = QFile::copy(fileName(), name);
        for (int number = 2; number <= mostCopies && !copied; ++number)
            copied = QFile::copy(fileName(), name + QLatin1Char('-') + QString::number(number));
    }

    mutable std::mutex mutex;
    QVariantMap defaults;
    bool damageLookedFor = false;
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

void UserDefaults::synchronize() {
    store->flush();
}

}  // namespace pelorinnews
