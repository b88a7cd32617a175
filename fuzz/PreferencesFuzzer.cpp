// The promise tested: whatever the preferences file holds, it is not read if it may nest too deep,
// every setting has a defined value, and setting one changes no other value in the file.

#include "MemoryFolder.h"
#include "settings/NestedValues.h"
#include "settings/OlvNewsConfiguration.h"
#include "settings/UserDefaults.h"

#include <QCoreApplication>
#include <QFile>
#include <QSettings>

using namespace pelorinnews;

namespace {

const QString settingKey = QStringLiteral("newsFeedBaseURL");
const QString setText = QStringLiteral("http://127.0.0.1/, \"feed\";\n@Variant(\\x0)");

void require(bool holds, const char *what) {
    if (!holds)
        qFatal("%s", what);
}

qsizetype levelsOf(const QVariant &value) {
    qsizetype deepest = 0;
    const auto add = [&deepest](const QVariant &inner) {
        deepest = std::max(deepest, 1 + levelsOf(inner));
    };
    switch (value.typeId()) {
        case QMetaType::QVariant:
            add(*static_cast<const QVariant *>(value.constData()));
            break;
        case QMetaType::QVariantList:
            for (const QVariant &inner : value.toList())
                add(inner);
            break;
        case QMetaType::QVariantMap:
            for (const QVariant &inner : value.toMap())
                add(inner);
            break;
        case QMetaType::QVariantHash:
            for (const QVariant &inner : value.toHash())
                add(inner);
            break;
    }
    return deepest;
}

QVariantMap everythingIn(const QString &path) {
    const QSettings settings(path, QSettings::IniFormat);
    QVariantMap all;
    for (const QString &key : settings.allKeys())
        all.insert(key, settings.value(key));
    return all;
}

void write(const QString &path, const QByteArray &bytes) {
    QFile file(path);
    require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(),
            "the file cannot be written");
}

QByteArray contentsOf(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// What the settings say, as one text.
QString settingsOf(const std::shared_ptr<UserDefaults> &defaults) {
    const OlvNewsConfiguration configuration(defaults, {QStringLiteral("en")});
    require(configuration.lastViewing().isValid(), "the last viewing is no date");
    return QStringLiteral("%1 %2 %3 %4 %5 %6 %7 %8 %9")
        .arg(configuration.showOnStart())
        .arg(static_cast<qint64>(configuration.newsTypeFilter()))
        .arg(static_cast<qint64>(configuration.newsFilter()))
        .arg(configuration.feedLocale())
        .arg(configuration.readItemContent())
        .arg(configuration.lastViewing().toMSecsSinceEpoch())
        .arg(configuration.refreshInterval())
        .arg(configuration.feedType(), configuration.feedBaseURL());
}

/// Sets the feed's address. Of the other values, those in `before` must stay.
void set(const QString &path, QVariantMap before) {
    const auto defaults = std::make_shared<UserDefaults>(path);
    OlvNewsConfiguration(defaults, {QStringLiteral("en")}).setFeedBaseURL(setText);
    defaults->synchronize();
    QVariantMap after = everythingIn(path);
    require(after.take(settingKey) == setText, "the file lacks the new value");
    before.remove(settingKey);
    require(after == before, "another value has changed");
}

void checkFile(const QString &path, const QByteArray &bytes) {
    const qsizetype levels = NestedValues::possibleLevels(bytes);
    const bool isReadable = levels <= NestedValues::maxLevels;
    QVariantMap before;
    if (isReadable) {
        before = everythingIn(path);
        // Several values in one line are a list, which is one level more.
        for (const QVariant &value : before)
            require(levelsOf(value) <= levels + 1, "values nest deeper than was said");
    }
    {
        const auto defaults = std::make_shared<UserDefaults>(path);
        const QString settings = settingsOf(defaults);
        defaults->synchronize();
        require(settingsOf(defaults) == settings, "the settings have changed");
        require(contentsOf(path) == bytes, "reading has changed the file");
        if (!isReadable) {
            defaults->setValue(settingKey, setText);
            defaults->synchronize();
            require(defaults->stringForKey(settingKey) == setText, "the value is not in memory");
            require(contentsOf(path) == bytes, "an unreadable file has changed");
        }
    }
    if (isReadable)
        set(path, before);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv) {
    qputenv("LC_ALL", "en_US.UTF-8");
    qputenv("LANGUAGE", "en_US");
    qputenv("QT_LOGGING_RULES", "*.warning=false");
    static const QCoreApplication application(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const MemoryFolder folder;
    // QSettings keeps what it has read of a path: each input has a path of its own.
    static quint64 count = 0;
    const QDir place(folder.path() + QLatin1Char('/') + QString::number(++count));
    require(QDir().mkpath(place.path()), "the folder cannot be made");
    const QString path = place.filePath(QStringLiteral("a.conf"));
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    write(path, bytes);
    checkFile(path, bytes);
    QDir(place).removeRecursively();
    return 0;
}
