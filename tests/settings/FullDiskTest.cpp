#include "SmallDisk.h"
#include "TestMain.h"
#include "notifications/NotificationRegistry.h"
#include "settings/SettingsBackup.h"
#include "settings/UserDefaults.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <functional>

namespace pelorinnews::test {

/// Tests the notification registry and the preferences on a real disk that is full or nearly full.
class FullDiskTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void theRegistryIsWholeOrAsItWas_data();
    void theRegistryIsWholeOrAsItWas();
    void aRegistryThatIsNotUnderstoodStaysWhereNoOtherCanBeWritten();

    void thePreferencesAreWholeOrAsTheyWere_data();
    void thePreferencesAreWholeOrAsTheyWere();
    void preferencesThatHaveNoRoomStayInMemoryUntilThereIsSome();
    void aNewPreferencesFileIsWholeOrAbsent();
    void whatTheHostHasNotWrittenYetIsNotLostWithOurs();
    void whatTheHostHasNotWrittenYetCutsNoFileWithoutOurs();
    void aFileThatCouldNotBeKeptIsNeverRemoved();
    void whatCannotBeReachedIsNotAbsent();
    void anAbsentFileHoldsNoKeys();
    void anEmptyFileHoldsNoKeys();
    void aFileThatWasCutInPlaceLeavesNoBackup();
    void aBackupThatCannotTakeTheFilesPlaceRestoresNothing();
    void aProcessThatEndsLeavesThePreferencesWhole();
    void aDamagedFileIsRewrittenOnlyWhereItCouldBeCopied();

private:
    [[nodiscard]] QString path() const {
        return _folder->filePath(QStringLiteral("Olvane/P.conf"));
    }
    [[nodiscard]] QByteArray bytes() const { return bytesOf(path()); }
    [[nodiscard]] static QByteArray bytesOf(const QString &file);
    [[nodiscard]] static bool put(const QString &file, const QByteArray &bytes);
    /// The host's own settings, in a section before and a section after the panel's.
    [[nodiscard]] static QByteArray settingsOfTheHost();
    [[nodiscard]] QStringList filesBesideThePreferences() const;

    std::unique_ptr<QTemporaryDir> _folder;
    std::optional<SmallDisk> _disk;
};

namespace {

const QString key = QStringLiteral("newsFeedBaseURL");

RegistryChange putting(const QString &identity, const QString &title) {
    RegistryEntry entry;
    entry.notification.identity = identity;
    entry.notification.title = title;
    entry.serverId = 7;
    return {QStringLiteral("bus"), QStringLiteral(":1.9"), 0, {}, {entry}};
}

}  // namespace

void FullDiskTest::initTestCase() {
    if (!SmallDisk::whyNot().isEmpty())
        QSKIP(qPrintable(SmallDisk::whyNot()));
}

void FullDiskTest::init() {
    _folder = std::make_unique<QTemporaryDir>();
    QVERIFY(_folder->isValid());
    _disk.emplace(_folder->path());
    QVERIFY(_disk->isMounted());
    QVERIFY(QDir(_folder->path()).mkdir(QStringLiteral("Olvane")));
}

void FullDiskTest::cleanup() {
    _disk.reset();
    _folder.reset();
}

QByteArray FullDiskTest::bytesOf(const QString &file) {
    QFile read(file);
    return read.open(QIODevice::ReadOnly) ? read.readAll() : QByteArray("unreadable");
}

bool FullDiskTest::put(const QString &file, const QByteArray &bytes) {
    QFile written(file);
    return written.open(QIODevice::WriteOnly) && written.write(bytes) == bytes.size();
}

QByteArray FullDiskTest::settingsOfTheHost() {
    return "[General]\nhost=" + QByteArray(9000, 'h') + "\n\n[Window]\nlast=kept\n";
}

QStringList FullDiskTest::filesBesideThePreferences() const {
    return QDir(_folder->filePath(QStringLiteral("Olvane"))).entryList(QDir::Files | QDir::Hidden);
}

void FullDiskTest::theRegistryIsWholeOrAsItWas_data() {
    QTest::addColumn<qint64>("room");
    QTest::addColumn<int>("title");
    // The lock file takes one block, in addition to those of the registry file.
    constexpr qint64 block = SmallDisk::block;
    QTest::newRow("no room at all") << qint64(0) << 10;
    QTest::newRow("room for the lock") << block << 10;
    QTest::newRow("room for a short one") << 2 * block << 10;
    for (int title = 3000; title <= 4000; title += 50)
        QTest::addRow("a title of %d", title) << 2 * block << title;
}

void FullDiskTest::theRegistryIsWholeOrAsItWas() {
    QFETCH(qint64, room);
    QFETCH(int, title);
    const NotificationRegistry registry(_folder->path());
    QVERIFY(registry.apply(putting(QStringLiteral("old"), QStringLiteral("Old"))));
    const QByteArray before = bytesOf(registry.path());
    _disk->leaveRoom(room);
    const auto change = putting(QStringLiteral("new"), QString(title, QLatin1Char('t')));
    const auto contents = registry.apply(change);
    const auto read = registry.read();
    QVERIFY(read);
    QCOMPARE(read->entries.size(), contents ? 2U : 1U);
    if (!contents)
        QCOMPARE(bytesOf(registry.path()), before);
    QVERIFY(contents.has_value() == (room == 2 * SmallDisk::block && title < 3400) ||
            (title >= 3400 && title <= 3800));
    const QStringList files = QDir(_folder->path()).entryList(QDir::Files | QDir::Hidden);
    QCOMPARE(files, QStringList({"ballast", "notifications.json"}));

    _disk->freeRoom();
    QVERIFY(registry.apply(change));
    QCOMPARE(registry.read()->entries.size(), 2U);
}

void FullDiskTest::aRegistryThatIsNotUnderstoodStaysWhereNoOtherCanBeWritten() {
    const NotificationRegistry registry(_folder->path());
    QVERIFY(put(registry.path(), "not understood"));
    _disk->leaveRoom(SmallDisk::block);
    const auto change = putting(QStringLiteral("new"), QStringLiteral("New"));
    QVERIFY(!registry.apply(change));
    QCOMPARE(bytesOf(registry.path()), QByteArray("not understood"));
    const QString aside = registry.path() + QStringLiteral(".corrupt");
    QVERIFY(!QFile::exists(aside));

    _disk->freeRoom();
    QVERIFY(registry.apply(change));
    QCOMPARE(bytesOf(aside), QByteArray("not understood"));
}

void FullDiskTest::thePreferencesAreWholeOrAsTheyWere_data() {
    QTest::addColumn<std::function<QVariant(int)>>("make");
    QTest::addColumn<QString>("way");
    using Make = std::function<QVariant(int)>;
    const std::vector<std::pair<const char *, Make>> makers = {
        {"plain", [](int size) { return QString(size, QLatin1Char('n')); }},
        // Each character of the next two kinds of values takes three bytes in the file, because it
        // is escaped. The size of the last kind is hard to predict.
        {"escaped", [](int size) { return QString(size / 3, QChar(1)); }},
        {"binary", [](int size) { return QByteArray(size / 3, '\x01'); }},
        {"list", [](int size) { return QStringList(2 + size / 4, QStringLiteral("ab")); }},
    };
    for (const auto &[name, make] : makers) {
        for (const char *way : {"synchronize", "event loop", "destruction"})
            QTest::addRow("%s, %s", name, way) << make << way;
    }
}

void FullDiskTest::thePreferencesAreWholeOrAsTheyWere() {
    QFETCH(const std::function<QVariant(int)>, make);
    QFETCH(QString, way);
    // The sizes grow from ones that fit to ones that do not, so that every kind of failure occurs.
    constexpr int step = 640;
    int written = 0;
    int refused = 0;
    for (int size = 2 * SmallDisk::block; size < 6 * SmallDisk::block; size += step) {
        // A new file for each size, because QSettings caches the files that it has read.
        const QString name = QStringLiteral("P%1.conf").arg(size);
        const QString file = _folder->filePath(QStringLiteral("Olvane/")) + name;
        QVERIFY(put(file, settingsOfTheHost()));
        _disk->leaveRoom(7 * SmallDisk::block);
        const QVariant value = make(size);
        auto defaults = std::make_optional<UserDefaults>(file);
        defaults->setValue(key, value);
        if (way == u"synchronize")
            defaults->synchronize();
        else if (way == u"event loop")
            QCoreApplication::processEvents();
        else
            defaults.reset();
        QCOMPARE(filesBesideThePreferences(), QStringList{name});
        if (defaults)
            QCOMPARE(defaults->objectForKey(key), value);
        const bool isAsItWas = bytesOf(file) == settingsOfTheHost();
        ++(isAsItWas ? refused : written);
        _disk->freeRoom();
        if (isAsItWas && defaults) {
            defaults->synchronize();
            QVERIFY(bytesOf(file) != settingsOfTheHost());
        }
        defaults.reset();
        if (!isAsItWas || way != u"destruction") {
            const QString seen = QDir::homePath() + QLatin1Char('/') + way + name;
            QVERIFY(QFile::copy(file, seen));
            const QSettings read(seen, QSettings::IniFormat);
            QCOMPARE(read.value(QStringLiteral("host")).toString().size(), 9000);
            QCOMPARE(read.value(QStringLiteral("Window/last")).toString(), QStringLiteral("kept"));
            QCOMPARE(read.value(key), value);
            QVERIFY(QFile::remove(seen));
        }
        QVERIFY(QFile::remove(file));
    }
    QVERIFY2(written > 5 && refused > 5,
             qPrintable(QStringLiteral("%1 written, %2 refused").arg(written).arg(refused)));
}

void FullDiskTest::preferencesThatHaveNoRoomStayInMemoryUntilThereIsSome() {
    QVERIFY(put(path(), settingsOfTheHost()));
    UserDefaults defaults(path());
    _disk->leaveRoom(0);
    defaults.setValue(key, QStringLiteral("new"));
    defaults.synchronize();
    QCoreApplication::processEvents();
    QCOMPARE(bytes(), settingsOfTheHost());
    QCOMPARE(defaults.stringForKey(key), QStringLiteral("new"));
    _disk->freeRoom();
    // The next change writes both values to the file; `synchronize` is not called.
    defaults.setValue(QStringLiteral("newsFilter"), 2);
    QTRY_VERIFY(bytes().contains("newsFeedBaseURL=new"));
    QVERIFY(bytes().contains("newsFilter=2"));
    QVERIFY(bytes().contains("last=kept"));
}

void FullDiskTest::aNewPreferencesFileIsWholeOrAbsent() {
    int written = 0;
    int absent = 0;
    for (int size = 100; size < 5 * SmallDisk::block; size += 300) {
        const QString name = QStringLiteral("P%1.conf").arg(size);
        const QString file = _folder->filePath(QStringLiteral("Olvane/")) + name;
        _disk->leaveRoom(3 * SmallDisk::block);
        UserDefaults defaults(file);
        defaults.setValue(key, QString(size / 3, QChar(1)));
        defaults.synchronize();
        if (filesBesideThePreferences().isEmpty()) {
            ++absent;
            _disk->freeRoom();
            defaults.synchronize();
        } else {
            ++written;
        }
        QCOMPARE(filesBesideThePreferences(), QStringList{name});
        QVERIFY(bytesOf(file).endsWith("\\x1\n"));
        QCOMPARE(bytesOf(file).count("\\x1"), size / 3);
        QVERIFY(QFile::remove(file));
    }
    QVERIFY2(written > 5 && absent > 5,
             qPrintable(QStringLiteral("%1 written, %2 absent").arg(written).arg(absent)));
}

void FullDiskTest::whatTheHostHasNotWrittenYetIsNotLostWithOurs() {
    QVERIFY(put(path(), settingsOfTheHost()));
    QSettings host(path(), QSettings::IniFormat);
    UserDefaults defaults(path());
    // There is room for the panel's change alone, but QSettings writes the host's pending changes
    // of the same file with it.
    _disk->leaveRoom(5 * SmallDisk::block);
    host.setValue(QStringLiteral("more"), QString(9000, QLatin1Char('m')));
    host.remove(QStringLiteral("Window/last"));
    defaults.setValue(key, QStringLiteral("new"));
    defaults.synchronize();
    QCOMPARE(bytes(), settingsOfTheHost());
    QCOMPARE(host.value(QStringLiteral("more")).toString().size(), 9000);
    QVERIFY(!host.contains(QStringLiteral("Window/last")));
    QCOMPARE(defaults.stringForKey(key), QStringLiteral("new"));

    _disk->freeRoom();
    defaults.synchronize();
    QVERIFY(bytes().contains("more=mmm"));
    QVERIFY(bytes().contains("newsFeedBaseURL=new"));
    QVERIFY(!bytes().contains("last=kept"));
}

void FullDiskTest::whatTheHostHasNotWrittenYetCutsNoFileWithoutOurs() {
    QVERIFY(put(path(), settingsOfTheHost()));
    QSettings host(path(), QSettings::IniFormat);
    auto defaults = std::make_optional<UserDefaults>(path());
    _disk->leaveRoom(5 * SmallDisk::block);
    host.setValue(QStringLiteral("more"), QString(9000, QLatin1Char('m')));
    // Discard the host's pending write: its own QSettings would truncate the file in the next event
    // loop iteration.
    QCoreApplication::removePostedEvents(&host);
    defaults->synchronize();
    QCOMPARE(bytes(), settingsOfTheHost());

    // Set the folder's modification time back, to notice if a file is created in the folder.
    const std::filesystem::path parent = QFileInfo(path()).path().toStdString();
    const auto earlier = std::filesystem::last_write_time(parent) - std::chrono::hours(1);
    std::filesystem::last_write_time(parent, earlier);
    for (int turn = 0; turn < 3; ++turn)
        QCoreApplication::processEvents();
    QVERIFY(std::filesystem::last_write_time(parent) == earlier);
    defaults.reset();
    QCOMPARE(bytes(), settingsOfTheHost());

    _disk->freeRoom();
    host.sync();
    QVERIFY(bytes().contains("more=mmm"));
    QVERIFY(bytes().contains("last=kept"));
}

void FullDiskTest::aFileThatCouldNotBeKeptIsNeverRemoved() {
    QFile file(path());
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.resize(SettingsBackup::maxFileBytes + 1));
    // A stale `errno` of an earlier call must not make the backup take this file for absent.
    errno = ENOENT;
    SettingsBackup backup(path());
    QVERIFY(!backup.isKept());
    QVERIFY(file.resize(1));
    QVERIFY(backup.check(1) == SettingsBackup::Outcome::Untouched);
    QVERIFY(file.exists());
}

void FullDiskTest::whatCannotBeReachedIsNotAbsent() {
    // The path is a link to itself, so it cannot be read; later a regular file takes its place.
    QVERIFY(QFile::link(path(), path()));
    SettingsBackup backup(path());
    QVERIFY(!backup.isKept());
    QVERIFY(QFile::remove(path()));
    QVERIFY(put(path(), "[General"));
    QVERIFY(backup.check(1) == SettingsBackup::Outcome::Untouched);
    QCOMPARE(bytes(), QByteArray("[General"));
}

void FullDiskTest::anAbsentFileHoldsNoKeys() {
    SettingsBackup backup(path());
    QVERIFY(backup.isKept());
    QVERIFY(backup.check(0) == SettingsBackup::Outcome::Whole);
    QVERIFY(backup.check(1) == SettingsBackup::Outcome::Untouched);
}

void FullDiskTest::anEmptyFileHoldsNoKeys() {
    const QByteArray before = "[General]\nlast=kept\n";
    QVERIFY(put(path(), before));
    SettingsBackup backup(path());
    QVERIFY(put(path() + QStringLiteral(".new"), QByteArray()));
    QVERIFY(QFile::remove(path()));
    QVERIFY(QFile::rename(path() + QStringLiteral(".new"), path()));
    QVERIFY(backup.check(0) == SettingsBackup::Outcome::Whole);
    QCOMPARE(bytes(), QByteArray());
    QVERIFY(backup.check(1) == SettingsBackup::Outcome::Restored);
    QCOMPARE(bytes(), before);
}

/// The backup is a hard link to the file, so truncating the file in place truncates both.
void FullDiskTest::aFileThatWasCutInPlaceLeavesNoBackup() {
    QVERIFY(put(path(), settingsOfTheHost()));
    {
        SettingsBackup backup(path());
        QVERIFY(put(path(), QByteArray()));
        static_cast<void>(backup.check(1));
    }
    QCOMPARE(filesBesideThePreferences(), QStringList{"P.conf"});
}

void FullDiskTest::aBackupThatCannotTakeTheFilesPlaceRestoresNothing() {
    for (const bool hadFile : {true, false}) {
        QVERIFY(QDir().mkpath(QFileInfo(path()).path()));
        QFile file(path());
        if (hadFile) {
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("[General]\nlast=kept\n");
            file.close();
        }
        SettingsBackup backup(path());
        QVERIFY(backup.isKept());
        QCOMPARE(file.remove(), hadFile);
        QVERIFY(QDir().mkdir(path()));
        QVERIFY(backup.check(1) == SettingsBackup::Outcome::Untouched);
        QVERIFY(QFileInfo(path()).isDir());
        QVERIFY(QDir().rmdir(path()));
    }
}

void FullDiskTest::aProcessThatEndsLeavesThePreferencesWhole() {
    const QString leaving = _folder->filePath(QStringLiteral("Olvane/Leaving.conf"));
    for (const qint64 room : {0, 1, 2, 3, 4, 8}) {
        QVERIFY(put(leaving, settingsOfTheHost()));
        _disk->leaveRoom(room * SmallDisk::block);
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), _folder->path());
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QStringLiteral(PELORIN_SET_AND_LEAVE), QStringList());
        QVERIFY(process.waitForFinished(testPatience));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        const QByteArray after = bytesOf(leaving);
        QVERIFY(after == settingsOfTheHost() || after.contains("newsShowOnStart=false\n"));
        QVERIFY(after.endsWith("\n[Window]\nlast=kept\n"));
        QCOMPARE(after == settingsOfTheHost(), room < 4);
        QCOMPARE(filesBesideThePreferences(), QStringList{"Leaving.conf"});
    }
}

void FullDiskTest::aDamagedFileIsRewrittenOnlyWhereItCouldBeCopied() {
    const QByteArray damaged = settingsOfTheHost() + "no equals sign here\n";
    QVERIFY(put(path(), damaged));
    // There is room for the new file, but not for a copy of the damaged file in addition. Without
    // that copy the damaged file must stay.
    _disk->leaveRoom(4 * SmallDisk::block);
    UserDefaults defaults(path());
    defaults.setValue(key, QStringLiteral("new"));
    defaults.synchronize();
    QCOMPARE(bytes(), damaged);
    for (const QString &file : filesBesideThePreferences())
        QCOMPARE(bytesOf(_folder->filePath(QStringLiteral("Olvane/")) + file), damaged);

    _disk->freeRoom();
    defaults.synchronize();
    QVERIFY(bytes().contains("newsFeedBaseURL=new"));
    QCOMPARE(bytesOf(path() + QStringLiteral(".damaged")), damaged);
}

}  // namespace pelorinnews::test

PELORIN_SMALL_DISK_TEST_MAIN(pelorinnews::test::FullDiskTest)

#include "FullDiskTest.moc"
