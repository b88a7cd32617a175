#include "NotificationRegistry.h"
#include "TestMain.h"

#include <QDateTime>
#include <QFile>
#include <QLockFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

#include <thread>

namespace pelorinnews::test {

class NotificationRegistryTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void hasNothingWhereThereIsNoFile();
    void givesBackWhatWasPut();
    void keepsDatesToTheMillisecond();
    void keepsAbsentTextsAbsent();
    void erasesByIdentity();
    void tellsWhatItErased();
    void tellsOnlyOneOfTwoThatItErasedAnEntry();
    void replacesTheEntryOfTheSameIdentity();
    void dropsTheEntriesOfAnotherBusOrServer_data();
    void dropsTheEntriesOfAnotherBusOrServer();
    void countsEachChange();
    void setsACorruptFileAside_data();
    void setsACorruptFileAside();
    void passesOverEntriesThatItCannotUse();
    void leavesTheFileAloneWhileAnotherHoldsTheLock();
    void breaksTheLockOfAProcessThatDied();
    void reportsAFolderThatCannotBeMade();
    void forgetsTheOldestBeyondItsBound();
    void losesNothingWhenTwoChangeItAtOnce();
    void isReadableByItsOwnerOnly();

private:
    [[nodiscard]] QString folder() const { return home->filePath(QStringLiteral("state/host")); }
    [[nodiscard]] NotificationRegistry registry() const { return NotificationRegistry(folder()); }
    void overwrite(const QByteArray &bytes) const;

    std::unique_ptr<QTemporaryDir> home;
};

namespace {

RegistryEntry entry(const QString &identity, quint32 id = 7) {
    RegistryEntry made;
    made.notification.identity = identity;
    made.notification.title = QStringLiteral("Title of ") + identity;
    made.serverId = id;
    made.sender = QStringLiteral(":1.4");
    return made;
}

RegistryChange putting(const std::vector<RegistryEntry> &entries) {
    return {QStringLiteral("bus"), QStringLiteral(":1.9"), 0, {}, entries};
}

QStringList identities(const RegistryContents &contents) {
    QStringList names;
    for (const RegistryEntry &each : contents.entries)
        names.append(each.notification.identity);
    return names;
}

}  // namespace

void NotificationRegistryTest::init() {
    home = std::make_unique<QTemporaryDir>();
    QVERIFY(home->isValid());
}

void NotificationRegistryTest::overwrite(const QByteArray &bytes) const {
    QFile file(registry().path());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

void NotificationRegistryTest::hasNothingWhereThereIsNoFile() {
    QVERIFY(!registry().read());
}

void NotificationRegistryTest::givesBackWhatWasPut() {
    RegistryEntry put = entry(QStringLiteral("a"), 0xfffffffeU);
    put.notification.informativeText = QStringLiteral("<b>Ü</b> \U0001F4F0 & more");
    put.notification.soundName = UserNotification::defaultSoundName();
    put.notification.userInfo = {{QStringLiteral("number"), qint64(1) << 60},
                                 {QStringLiteral("bytes"), QByteArray("\0\xff", 2)},
                                 {QStringLiteral("list"), QStringList{QStringLiteral("x")}}};
    put.withdrawn = true;
    QVERIFY(registry().apply(putting({put})));

    const auto contents = registry().read();
    QVERIFY(contents);
    QCOMPARE(contents->bus, QStringLiteral("bus"));
    QCOMPARE(contents->server, QStringLiteral(":1.9"));
    QCOMPARE(contents->entries.size(), 1U);
    QCOMPARE(contents->entries[0].notification, put.notification);
    QCOMPARE(contents->entries[0].serverId, put.serverId);
    QCOMPARE(contents->entries[0].sender, put.sender);
    QVERIFY(contents->entries[0].withdrawn);
}

void NotificationRegistryTest::keepsDatesToTheMillisecond() {
    const QDateTime utc(QDate(2031, 12, 31), QTime(23, 59, 59, 987), Qt::UTC);
    const QDateTime zoned(QDate(1969, 7, 20), QTime(3, 4, 5, 6), QTimeZone("Asia/Kolkata"));
    RegistryEntry put = entry(QStringLiteral("a"));
    put.notification.userInfo = {{QStringLiteral("utc"), utc}, {QStringLiteral("zoned"), zoned}};
    QVERIFY(registry().apply(putting({put})));

    const QVariantMap back = registry().read()->entries.at(0).notification.userInfo;
    QCOMPARE(back.value(QStringLiteral("utc")).toDateTime(), utc);
    QCOMPARE(back.value(QStringLiteral("zoned")).toDateTime(), zoned);
    QCOMPARE(back.value(QStringLiteral("utc")).toDateTime().time().msec(), 987);
}

void NotificationRegistryTest::keepsAbsentTextsAbsent() {
    RegistryEntry put = entry(QStringLiteral("a"));
    put.notification.title = QString();
    put.notification.informativeText = QStringLiteral("");
    QVERIFY(registry().apply(putting({put})));

    const UserNotification back = registry().read()->entries.at(0).notification;
    QVERIFY(back.title.isNull());
    QVERIFY(!back.informativeText.isNull() && back.informativeText.isEmpty());
    QVERIFY(back.soundName.isNull());
}

void NotificationRegistryTest::erasesByIdentity() {
    QVERIFY(registry().apply(putting({entry(QStringLiteral("a")), entry(QStringLiteral("b"))})));
    RegistryChange change = putting({});
    change.erased = QStringList{QStringLiteral("a"), QStringLiteral("unknown")};
    QVERIFY(registry().apply(change));
    QCOMPARE(identities(*registry().read()), QStringList{QStringLiteral("b")});
}

void NotificationRegistryTest::tellsWhatItErased() {
    QVERIFY(registry().apply(putting({entry(QStringLiteral("a")), entry(QStringLiteral("b"))})));
    RegistryChange change = putting({});
    change.erased = QStringList{QStringLiteral("a"), QStringLiteral("unknown")};
    QStringList removed;
    QVERIFY(registry().apply(change, &removed));
    QCOMPARE(removed, QStringList{QStringLiteral("a")});
    QVERIFY(registry().apply(change, &removed));
    QCOMPARE(removed, QStringList());

    // What stood on another server was not erased by this change, and nothing is where it fails.
    change.erased = QStringList{QStringLiteral("b")};
    QLockFile lock(registry().path() + QStringLiteral(".lock"));
    QVERIFY(lock.lock());
    removed = QStringList{QStringLiteral("stale")};
    QVERIFY(!registry().apply(change, &removed));
    QCOMPARE(removed, QStringList());
    lock.unlock();
    change.server = QStringLiteral(":1.10");
    QVERIFY(registry().apply(change, &removed));
    QCOMPARE(removed, QStringList());
}

void NotificationRegistryTest::tellsOnlyOneOfTwoThatItErasedAnEntry() {
    constexpr int rounds = 20;
    for (int round = 0; round < rounds; ++round) {
        QVERIFY(registry().apply(putting({entry(QStringLiteral("a"))})));
        const auto erase = [this](int *count) {
            RegistryChange change = putting({});
            change.erased = QStringList{QStringLiteral("a")};
            QStringList removed;
            while (!registry().apply(change, &removed))
                std::this_thread::yield();
            *count = static_cast<int>(removed.size());
        };
        int first = 0;
        int second = 0;
        std::thread other(erase, &second);
        erase(&first);
        other.join();
        QCOMPARE(first + second, 1);
    }
}

void NotificationRegistryTest::replacesTheEntryOfTheSameIdentity() {
    QVERIFY(registry().apply(putting({entry(QStringLiteral("a"), 1), entry(QStringLiteral("b"))})));
    QVERIFY(registry().apply(putting({entry(QStringLiteral("a"), 2)})));
    const auto contents = registry().read();
    QCOMPARE(identities(*contents), (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
    QCOMPARE(contents->entries[0].serverId, 2U);
}

void NotificationRegistryTest::dropsTheEntriesOfAnotherBusOrServer_data() {
    QTest::addColumn<QString>("bus");
    QTest::addColumn<QString>("server");
    QTest::newRow("bus") << "other"
                         << ":1.9";
    QTest::newRow("server") << "bus"
                            << ":1.10";
    QTest::newRow("no server") << "bus" << QString();
}

void NotificationRegistryTest::dropsTheEntriesOfAnotherBusOrServer() {
    QFETCH(QString, bus);
    QFETCH(QString, server);
    QVERIFY(registry().apply(putting({entry(QStringLiteral("old"))})));
    QVERIFY(registry().apply({bus, server, 0, {}, {entry(QStringLiteral("new"))}}));
    QCOMPARE(identities(*registry().read()), QStringList{QStringLiteral("new")});
}

void NotificationRegistryTest::countsEachChange() {
    QCOMPARE(registry().apply(putting({}))->serial, 1U);
    QCOMPARE(registry().apply(putting({}))->serial, 2U);
    RegistryChange change = putting({});
    change.serial = 40;
    QCOMPARE(registry().apply(change)->serial, 41U);
}

void NotificationRegistryTest::setsACorruptFileAside_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("cut") << QByteArray(R"({"version": 1, "notifications": [{"identity)");
    QTest::newRow("binary") << QByteArray("\0\1\2\xff\xfe", 5);
    QTest::newRow("another format")
        << QByteArray(R"({"version": 2, "serial": 1, "notifications": []})");
    QTest::newRow("no list") << QByteArray(R"({"version": 1, "serial": 1, "notifications": 7})");
    QTest::newRow("a list") << QByteArray("[1, 2, 3]");
    QTest::newRow("deep") << QByteArray(100000, '[');
}

void NotificationRegistryTest::setsACorruptFileAside() {
    QFETCH(QByteArray, bytes);
    QVERIFY(registry().apply(putting({entry(QStringLiteral("old"))})));
    overwrite(bytes);

    QVERIFY(!registry().read());
    QVERIFY(registry().apply(putting({entry(QStringLiteral("new"))})));
    QCOMPARE(identities(*registry().read()), QStringList{QStringLiteral("new")});
    QFile aside(registry().path() + QStringLiteral(".corrupt"));
    QVERIFY(aside.open(QIODevice::ReadOnly));
    QCOMPARE(aside.readAll(), bytes);
}

void NotificationRegistryTest::passesOverEntriesThatItCannotUse() {
    QVERIFY(registry().apply(putting({entry(QStringLiteral("good"))})));
    QFile file(registry().path());
    QVERIFY(file.open(QIODevice::ReadOnly));
    QByteArray bytes = file.readAll();
    bytes.replace("\"notifications\": [",
                  "\"notifications\": [3, {}, {\"identity\": \"no id\", \"userInfo\": \"\"},"
                  "{\"identity\": \"huge id\", \"id\": 4294967296, \"userInfo\": \"\"},"
                  "{\"identity\": \"bad info\", \"id\": 3, \"userInfo\": \"!!\"},");
    overwrite(bytes);
    QCOMPARE(identities(*registry().read()), QStringList{QStringLiteral("good")});
}

void NotificationRegistryTest::leavesTheFileAloneWhileAnotherHoldsTheLock() {
    QVERIFY(registry().apply(putting({entry(QStringLiteral("a"))})));
    QLockFile lock(registry().path() + QStringLiteral(".lock"));
    QVERIFY(lock.lock());
    QVERIFY(!registry().apply(putting({entry(QStringLiteral("b"))})));
    QCOMPARE(identities(*registry().read()), QStringList{QStringLiteral("a")});
    lock.unlock();
    QVERIFY(registry().apply(putting({entry(QStringLiteral("b"))})));
    QCOMPARE(registry().read()->entries.size(), 2U);
}

void NotificationRegistryTest::breaksTheLockOfAProcessThatDied() {
    QVERIFY(registry().apply(putting({})));
    QFile lock(registry().path() + QStringLiteral(".lock"));
    QVERIFY(lock.open(QIODevice::WriteOnly));
    // No process has this number.
    lock.write("4194399\ngone\n" + QSysInfo::machineHostName().toUtf8() + "\n");
    lock.close();
    QVERIFY(registry().apply(putting({entry(QStringLiteral("a"))})));
}

void NotificationRegistryTest::reportsAFolderThatCannotBeMade() {
    QFile file(home->filePath(QStringLiteral("state")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(!registry().apply(putting({entry(QStringLiteral("a"))})));
    QVERIFY(!registry().read());
}

void NotificationRegistryTest::forgetsTheOldestBeyondItsBound() {
    std::vector<RegistryEntry> entries;
    for (std::size_t i = 0; i < NotificationRegistry::maximumEntries + 3; ++i)
        entries.push_back(entry(QString::number(i), static_cast<quint32>(i + 1)));
    const auto contents = registry().apply(putting(entries));
    QCOMPARE(contents->entries.size(), NotificationRegistry::maximumEntries);
    QCOMPARE(contents->entries.front().notification.identity, QStringLiteral("3"));
}

void NotificationRegistryTest::losesNothingWhenTwoChangeItAtOnce() {
    constexpr int each = 20;
    const auto put = [this](const QString &prefix) {
        for (int i = 0; i < each; ++i) {
            while (!registry().apply(putting({entry(prefix + QString::number(i))})))
                std::this_thread::yield();
        }
    };
    std::thread first(put, QStringLiteral("a"));
    std::thread second(put, QStringLiteral("b"));
    first.join();
    second.join();
    QCOMPARE(registry().read()->entries.size(), std::size_t(2 * each));
    QCOMPARE(registry().read()->serial, quint64(2 * each));
}

void NotificationRegistryTest::isReadableByItsOwnerOnly() {
    QVERIFY(registry().apply(putting({entry(QStringLiteral("a"))})));
    const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
    QVERIFY(!(QFile::permissions(registry().path()) & others));
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::NotificationRegistryTest)

#include "NotificationRegistryTest.moc"
