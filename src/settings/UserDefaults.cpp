#include "UserDefaults.h"

#include "PreferenceValue.h"
#include "UserDefaultsStore.h"
#include "platform/ApplicationEnd.h"
#include "platform/FileLock.h"
#include "platform/HostBundle.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QList>
#include <QStandardPaths>

#include <chrono>
#include <mutex>
#include <utility>

namespace pelorinnews {

namespace {

constexpr QLatin1StringView suffix(".conf");

/// The first of `names` that is usable as one path component: slashes become spaces, and "." and
/// ".." are skipped.
QString firstName(const QStringList &names) {
    for (QString name : names) {
        name.replace(QLatin1Char('/'), QLatin1Char(' '));
        if (!name.isEmpty() && name != u"." && name != u"..")
            return name;
    }
    return {};
}

}  // namespace

/// All preferences opened in this process. The event loop no longer runs for values that are set
/// while the host quits. So all preferences are written when the application object is destroyed,
/// and again when the process ends, whether or not they are still in use.
class UserDefaults::OpenStores {
public:
    std::shared_ptr<UserDefaults> at(const QString &path) {
        const std::lock_guard lock(_mutex);
        ApplicationEnd::add(ApplicationEnd::Phase::Preferences,
                            [] { instance().synchronizeAll(); });
        std::shared_ptr<UserDefaults> &defaults = _byPath[path];
        if (!defaults)
            defaults = std::make_shared<UserDefaults>(path);
        return defaults;
    }

    ~OpenStores() { synchronizeAll(); }

    static OpenStores &instance() {
        static OpenStores only;
        return only;
    }

private:
    void synchronizeAll() {
        QList<std::shared_ptr<UserDefaults>> all;
        {
            const std::lock_guard lock(_mutex);
            all = _byPath.values();
        }
        for (const auto &defaults : all)
            defaults->synchronize();
    }

    std::mutex _mutex;
    QHash<QString, std::shared_ptr<UserDefaults>> _byPath;
};

std::shared_ptr<UserDefaults> UserDefaults::standard() {
    return OpenStores::instance().at(
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

UserDefaults::UserDefaults(const QString &filePath)
    : _store(new UserDefaultsStore(filePath), &UserDefaultsStore::release) {}

UserDefaults::~UserDefaults() = default;

void UserDefaults::registerDefaults(const QVariantMap &defaults) {
    _store->addDefaults(defaults);
}

QVariant UserDefaults::objectForKey(const QString &key) const {
    return _store->read(key);
}

bool UserDefaults::boolForKey(const QString &key) const {
    return PreferenceValue::toBool(_store->read(key));
}

qint64 UserDefaults::integerForKey(const QString &key) const {
    return PreferenceValue::toInteger(_store->read(key));
}

QString UserDefaults::stringForKey(const QString &key) const {
    return PreferenceValue::toText(_store->read(key));
}

QDateTime UserDefaults::dateForKey(const QString &key) const {
    return PreferenceValue::toDate(_store->read(key));
}

void UserDefaults::setValue(const QString &key, const QVariant &value) {
    _store->write(key, value);
}

void UserDefaults::removeObjectForKey(const QString &key) {
    _store->write(key, {});
}

void UserDefaults::setDateUnlessEarlier(const QString &key, const QDateTime &date) {
    // Locked so that no other process writes a later date between our read and our write. If the
    // lock cannot be taken, the date is stored nevertheless.
    QDir().mkpath(QFileInfo(_store->fileName()).path());
    const FileLock lock(_store->fileName() + QStringLiteral(".date.lock"), std::chrono::seconds(1));
    synchronize();
    if (dateForKey(key) > date)
        return;
    setValue(key, date);
    synchronize();
}

void UserDefaults::synchronize() {
    _store->flush();
}

}  // namespace pelorinnews
