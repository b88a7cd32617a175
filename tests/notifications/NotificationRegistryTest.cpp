#include "SpecialFile.h"
#include "TestMain.h"
#include "notifications/NotificationRegistry.h"
#include "notifications/RegistryFormat.h"

#include <QDataStream>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QLockFile>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QTimeZone>

#include <array>
#include <chrono>
#include <limits>
#include <sys/inotify.h>
#include <thread>
#include <unistd.h>

namespace pelorinnews::test {

class NotificationRegistryTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void hasNothingWhereThereIsNoFile();
    void givesBackWhatWasPut();
    void keepsDatesToTheMillisecond_data();
    void keepsDatesToTheMillisecond();
    void keepsNoOtherUserInformation();
    void readsTheFormatOfBefore();
    void takesNothingElseFromTheFormatOfBefore_data();
    void takesNothingElseFromTheFormatOfBefore();
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
    void forgetsTheOldestBeyondItsLimit();
    void forgetsTheOldestBeyondTheSizeOfAFile();
    void forgetsFewLargeEntriesOneByOne();
    void writesAFileOfTheLargestSize();
    void cutsLongTexts();
    void readsNoMoreThanItWouldWrite();
    void readsNoFileThatIsTooLarge();
    void readsAnUnchangedFileOnce();
    void readsAFileThatHasJustChangedEachTime();
    void whatIsNoRegularFileIsNeitherReadNorReplaced_data();
    void whatIsNoRegularFileIsNeitherReadNorReplaced();
    void aLinkStaysALink();
    void losesNothingWhenTwoChangeItAtOnce();
    void isReadableByItsOwnerOnly();

private:
    [[nodiscard]] QString folder() const { return _home->filePath(QStringLiteral("state/host")); }
    [[nodiscard]] NotificationRegistry registry() const { return NotificationRegistry(folder()); }
    [[nodiscard]] QByteArray bytes() const;
    void overwrite(const QByteArray &bytes) const;
    void overwriteAsBefore(const QByteArray &stream) const;
    static QByteArray streamed(const QVariantMap &userInfo);
    static QByteArray nested();

    std::unique_ptr<QTemporaryDir> _home;
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

const QString dateKey = QStringLiteral("originationDate");
const QString nameKey = QStringLiteral("originatorName");

QStringList identities(const RegistryContents &contents) {
    QStringList names;
    for (const RegistryEntry &each : contents.entries)
        names.append(each.notification.identity);
    return names;
}

}  // namespace

void NotificationRegistryTest::init() {
    _home = std::make_unique<QTemporaryDir>();
    QVERIFY(_home->isValid());
}

void NotificationRegistryTest::overwrite(const QByteArray &bytes) const {
    QFile file(registry().path());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

QByteArray NotificationRegistryTest::bytes() const {
    QFile file(registry().path());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Writes a file of version 1 with one entry, whose user information is `stream`.
void NotificationRegistryTest::overwriteAsBefore(const QByteArray &stream) const {
    QVERIFY(QDir().mkpath(folder()));
    overwrite(R"({"version": 1, "serial": 5, "bus": "bus", "server": ":1.9", "notifications": [
        {"identity": "before", "title": "Title", "id": 9, "sender": ":1.4", "withdrawn": false,
         "userInfo": ")" +
              stream.toBase64() + R"("}]})");
}

QByteArray NotificationRegistryTest::streamed(const QVariantMap &userInfo) {
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_6_4);
    stream << userInfo;
    return bytes;
}

/// A stream of maps, nested as deep as the largest file allows.
QByteArray NotificationRegistryTest::nested() {
    constexpr int levels = 7000;
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_6_4);
    for (int level = 0; level < levels; ++level)
        stream << quint32(1) << QString() << quint32(QMetaType::QVariantMap) << qint8(0);
    return bytes;
}

void NotificationRegistryTest::hasNothingWhereThereIsNoFile() {
    QVERIFY(!registry().read());
}

void NotificationRegistryTest::givesBackWhatWasPut() {
    RegistryEntry put = entry(QStringLiteral("a"), 0xfffffffeU);
    put.notification.informativeText = QStringLiteral("<b>Ü</b> \U0001F4F0 & more");
    put.notification.soundName = UserNotification::defaultSoundName();
    put.notification.userInfo = {
        {dateKey, QDateTime(QDate(2031, 12, 31), QTime(23, 59, 59, 987), Qt::UTC)},
        {nameKey, QStringLiteral("com.Olvane.PelorinNews.originator")}};
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

void NotificationRegistryTest::keepsDatesToTheMillisecond_data() {
    QTest::addColumn<QDateTime>("date");
    QTest::newRow("UTC") << QDateTime(QDate(2031, 12, 31), QTime(23, 59, 59, 987), Qt::UTC);
    QTest::newRow("time zone") << QDateTime(QDate(1969, 7, 20), QTime(3, 4, 5, 6),
                                            QTimeZone("Asia/Kolkata"));
    QTest::newRow("offset") << QDateTime(QDate(2026, 1, 1), QTime(0, 0, 0, 1), Qt::OffsetFromUTC,
                                         -4500);
    QTest::newRow("a millisecond before 1970") << QDateTime::fromMSecsSinceEpoch(-1, Qt::UTC);
    QTest::newRow("1970") << QDateTime::fromMSecsSinceEpoch(0, Qt::UTC);
    QTest::newRow("the distant past") << QDateTime(QDate(1, 1, 1), QTime(0, 0), Qt::UTC);
    QTest::newRow("the earliest date")
        << QDateTime::fromMSecsSinceEpoch(std::numeric_limits<qint64>::min(), Qt::UTC);
    QTest::newRow("a year of five digits") << QDateTime(QDate(12026, 1, 1), QTime(0, 0), Qt::UTC);
}

void NotificationRegistryTest::keepsDatesToTheMillisecond() {
    QFETCH(QDateTime, date);
    RegistryEntry put = entry(QStringLiteral("a"));
    put.notification.userInfo = {{dateKey, date}};
    QVERIFY(registry().apply(putting({put})));
    const QVariantMap back = registry().read()->entries.at(0).notification.userInfo;
    QCOMPARE(back.value(dateKey).typeId(), int(QMetaType::QDateTime));
    QCOMPARE(back.value(dateKey).toDateTime(), date);
}

void NotificationRegistryTest::keepsNoOtherUserInformation() {
    RegistryEntry put = entry(QStringLiteral("a"));
    put.notification.userInfo = {{QStringLiteral("number"), 7},
                                 {nameKey, 7},
                                 {dateKey, QStringLiteral("2026-01-01T00:00:00Z")}};
    const auto written = registry().apply(putting({put}));
    QVERIFY(written);
    QVERIFY(written->entries.at(0).notification.userInfo.isEmpty());
    QVERIFY(registry().read()->entries.at(0).notification.userInfo.isEmpty());
    put.notification.userInfo = {{dateKey, QDateTime()}};
    QVERIFY(registry().apply(putting({put})));
    QVERIFY(registry().read()->entries.at(0).notification.userInfo.isEmpty());
}

void NotificationRegistryTest::readsTheFormatOfBefore() {
    const QDateTime date(QDate(2026, 3, 31), QTime(12, 0, 0, 5), QTimeZone("Europe/Berlin"));
    const QString name = QStringLiteral("com.Olvane.PelorinNews.originator");
    overwriteAsBefore(streamed({{dateKey, date}, {nameKey, name}}));
    const auto contents = registry().read();
    QVERIFY(contents);
    QCOMPARE(identities(*contents), QStringList{QStringLiteral("before")});
    QCOMPARE(contents->entries[0].serverId, 9U);
    const QVariantMap userInfo = contents->entries[0].notification.userInfo;
    QCOMPARE(userInfo.size(), 2);
    QCOMPARE(userInfo.value(dateKey).toDateTime(), date);
    QCOMPARE(userInfo.value(nameKey), QVariant(name));

    // The next change rewrites the whole file in the current format.
    QVERIFY(registry().apply(putting({entry(QStringLiteral("new"))})));
    QCOMPARE(identities(*registry().read()), QStringList({"before", "new"}));
    QCOMPARE(registry().read()->entries[0].notification.userInfo, userInfo);
    QVERIFY(!bytes().contains("AAAA"));
    QVERIFY(!QFile::exists(registry().path() + QStringLiteral(".corrupt")));
}

void NotificationRegistryTest::takesNothingElseFromTheFormatOfBefore_data() {
    QTest::addColumn<QByteArray>("stream");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("cut") << streamed({{nameKey, QStringLiteral("name")}}).chopped(3);
    QTest::newRow("other values first")
        << streamed({{QStringLiteral("a"), QVariantList{1, 2}}, {nameKey, QStringLiteral("n")}});
    QTest::newRow("a text where the date should be")
        << streamed({{dateKey, QStringLiteral("2026-01-01")}});
    QTest::newRow("endless") << QByteArray(100, '\xff');
    // The stream begins with the number of its values: here 0, although one value follows.
    QTest::newRow("a value beyond the counted ones")
        << QByteArray(4, '\0') + streamed({{nameKey, QStringLiteral("name")}}).mid(4);
    QTest::newRow("a value after the one that is counted")
        << streamed({{QStringLiteral("a"), QStringLiteral("x")}}) +
               streamed({{nameKey, QStringLiteral("name")}}).mid(4);
    QTest::newRow("nested") << nested();
}

void NotificationRegistryTest::takesNothingElseFromTheFormatOfBefore() {
    QFETCH(QByteArray, stream);
    overwriteAsBefore(stream);
    // Read on a thread with the smallest stack that a program may give its main thread.
    std::optional<RegistryContents> contents;
    const std::unique_ptr<QThread> thread(
        QThread::create([this, &contents] { contents = registry().read(); }));
    thread->setStackSize(256 * 1024);
    thread->start();
    QVERIFY(thread->wait(testPatience));
    QVERIFY(contents);
    QCOMPARE(identities(*contents), QStringList{QStringLiteral("before")});
    QVERIFY(contents->entries[0].notification.userInfo.isEmpty());
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

    // `removed` is emptied if the change fails, and if the change belongs to another server than
    // the entries.
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
    constexpr int rounds = 10;
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
        << QByteArray(R"({"version": 3, "serial": 1, "notifications": []})");
    QTest::newRow("no list") << QByteArray(R"({"version": 1, "serial": 1, "notifications": 7})");
    QTest::newRow("a serial that cannot grow")
        << QByteArray(R"({"version": 2, "serial": 9223372036854775807, "notifications": []})");
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
                  "\"notifications\": [3, {}, {\"identity\": \"no id\"}, {\"id\": 5}, [[]],"
                  "{\"identity\": \"good\", \"id\": 8},"
                  "{\"identity\": \"huge id\", \"id\": 4294967296},"
                  "{\"identity\": \"half an id\", \"id\": 1.5},"
                  "{\"identity\": \"no info\", \"id\": 3, \"userInfo\": [{}]},");
    overwrite(bytes);
    const auto contents = registry().read();
    QCOMPARE(identities(*contents), QStringList({"no info", "good"}));
    QVERIFY(contents->entries[0].notification.userInfo.isEmpty());
    QCOMPARE(contents->entries[1].serverId, 7U);
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
    // No process has this ID.
    lock.write("4194399\ngone\n" + QSysInfo::machineHostName().toUtf8() + "\n");
    lock.close();
    QVERIFY(registry().apply(putting({entry(QStringLiteral("a"))})));
}

void NotificationRegistryTest::reportsAFolderThatCannotBeMade() {
    QFile file(_home->filePath(QStringLiteral("state")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(!registry().apply(putting({entry(QStringLiteral("a"))})));
    QVERIFY(!registry().read());
}

void NotificationRegistryTest::forgetsTheOldestBeyondItsLimit() {
    std::vector<RegistryEntry> entries;
    for (std::size_t i = 0; i < RegistryContents::maxEntries + 3; ++i)
        entries.push_back(entry(QString::number(i), static_cast<quint32>(i + 1)));
    const auto contents = registry().apply(putting(entries));
    QCOMPARE(contents->entries.size(), RegistryContents::maxEntries);
    QCOMPARE(contents->entries.front().notification.identity, QStringLiteral("3"));
}

void NotificationRegistryTest::forgetsTheOldestBeyondTheSizeOfAFile() {
    std::vector<RegistryEntry> entries;
    for (int i = 0; i < 100; ++i) {
        entries.push_back(entry(QString::number(i)));
        // Each character takes six bytes of JSON.
        entries.back().notification.title = QString(1000, QChar(1));
    }
    const auto contents = registry().apply(putting(entries));
    QVERIFY(contents);
    QVERIFY(bytes().size() <= RegistryFormat::maxFileBytes);
    QVERIFY(bytes().size() > RegistryFormat::maxFileBytes * 3 / 4);
    QCOMPARE(contents->entries.back().notification.identity, QStringLiteral("99"));
    QCOMPARE(identities(*registry().read()), identities(*contents));
}

void NotificationRegistryTest::forgetsFewLargeEntriesOneByOne() {
    std::vector<RegistryEntry> entries;
    for (int i = 0; i < 3; ++i) {
        entries.push_back(entry(QString::number(i)));
        // Each character takes six bytes of JSON: two entries exceed the size limit of the file.
        entries.back().notification.title = QString(4096, QChar(1));
        entries.back().notification.informativeText = entries.back().notification.title;
        entries.back().notification.soundName = entries.back().notification.title;
    }
    const auto contents = registry().apply(putting(entries));
    QVERIFY(contents);
    QCOMPARE(identities(*contents), QStringList{QStringLiteral("2")});
    QCOMPARE(identities(*registry().read()), QStringList{QStringLiteral("2")});
}

void NotificationRegistryTest::writesAFileOfTheLargestSize() {
    RegistryContents contents;
    contents.entries = {entry(QStringLiteral("a"))};
    QString &title = contents.entries[0].notification.title;
    title += QString(RegistryFormat::maxFileBytes - RegistryFormat::write(contents).size(),
                     QLatin1Char('t'));
    QCOMPARE(RegistryFormat::write(contents).size(), RegistryFormat::maxFileBytes);
    QCOMPARE(contents.entries.size(), 1U);
    title += QLatin1Char('t');
    QVERIFY(RegistryFormat::write(contents).size() < RegistryFormat::maxFileBytes);
    QVERIFY(contents.entries.empty());
}

void NotificationRegistryTest::cutsLongTexts() {
    RegistryEntry put = entry(QStringLiteral("a"));
    put.notification.title = QString(1'000'000, QLatin1Char('t'));
    put.notification.informativeText =
        QStringLiteral("x") + QStringLiteral("\U0001F600").repeated(500'000);
    put.notification.soundName =
        QString(4095, QLatin1Char('s')) + QStringLiteral("\U0001F600 and more");
    put.notification.userInfo = {{nameKey, put.notification.title}};
    const auto contents = registry().apply(putting({put}));
    QVERIFY(contents);
    const UserNotification back = registry().read()->entries.at(0).notification;
    QCOMPARE(back, contents->entries.at(0).notification);
    QCOMPARE(back.title, QString(4096, QLatin1Char('t')));
    // No surrogate pair is cut in half.
    QCOMPARE(back.informativeText,
             QStringLiteral("x") + QStringLiteral("\U0001F600").repeated(2047));
    QCOMPARE(back.soundName, QString(4095, QLatin1Char('s')));
    QCOMPARE(back.userInfo.value(nameKey).toString().size(), 4096);
}

void NotificationRegistryTest::readsNoMoreThanItWouldWrite() {
    QByteArray entries;
    for (int i = 1; i <= 4000; ++i)
        entries += ",{\"identity\":\"" + QByteArray::number(i) + "\",\"id\":1}";
    QVERIFY(QDir().mkpath(folder()));
    overwrite("{\"version\":2,\"serial\":1,\"notifications\":[" + entries.mid(1) + "]}");
    const auto contents = registry().read();
    QVERIFY(contents);
    QCOMPARE(contents->entries.size(), RegistryContents::maxEntries);
    QCOMPARE(contents->entries.front().notification.identity, QStringLiteral("3801"));
    QCOMPARE(contents->entries.back().notification.identity, QStringLiteral("4000"));
}

void NotificationRegistryTest::readsNoFileThatIsTooLarge() {
    QVERIFY(registry().apply(putting({entry(QStringLiteral("a"))})));
    const QByteArray good = bytes();
    overwrite(good + QByteArray(RegistryFormat::maxFileBytes - good.size(), ' '));
    QVERIFY(registry().read());
    overwrite(good + QByteArray(RegistryFormat::maxFileBytes - good.size() + 1, ' '));
    QVERIFY(!registry().read());
    QVERIFY(registry().apply(putting({entry(QStringLiteral("b"))})));
    QCOMPARE(identities(*registry().read()), QStringList{QStringLiteral("b")});
}

void NotificationRegistryTest::readsAnUnchangedFileOnce() {
    const NotificationRegistry reading(folder());
    QVERIFY(reading.apply(putting({entry(QStringLiteral("a"))})));
    // Wait: until two seconds after its last change, the file is read each time, because another
    // change within the same tick of the file system's clock might leave its timestamps as they
    // are.
    QTest::qWait(2100);
    QVERIFY(reading.read());
    const int watch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    QVERIFY(::inotify_add_watch(watch, reading.path().toUtf8().constData(), IN_ACCESS) >= 0);
    std::array<char, 4096> events{};
    for (int round = 0; round < 100; ++round)
        QCOMPARE(identities(*reading.read()), QStringList{QStringLiteral("a")});
    QVERIFY(::read(watch, events.data(), events.size()) < 0);
    QVERIFY(registry().read());
    QVERIFY2(::read(watch, events.data(), events.size()) > 0, "inotify does not report the read");
    ::close(watch);

    // After a change by any process the file is read again.
    QVERIFY(registry().apply(putting({entry(QStringLiteral("b"))})));
    QCOMPARE(identities(*reading.read()), QStringList({"a", "b"}));
    overwrite("");
    QVERIFY(!reading.read());
}

void NotificationRegistryTest::readsAFileThatHasJustChangedEachTime() {
    // Two changes within one tick of the file system's clock may leave the file with the same
    // timestamps.
    constexpr std::chrono::seconds tick{2};
    const NotificationRegistry reading(folder());
    QVERIFY(reading.apply(putting({entry(QStringLiteral("a"))})));
    const QByteArray good = bytes();
    const int watch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    QVERIFY(::inotify_add_watch(watch, reading.path().toUtf8().constData(), IN_ACCESS) >= 0);
    std::array<char, 4096> events{};
    bool isReadAgain = false;
    // If the two reads take longer than the tick, as on a busy computer, they prove nothing and are
    // repeated.
    const auto readTwice = [&] {
        const auto before = std::chrono::system_clock::now();
        overwrite(good);
        static_cast<void>(reading.read());
        while (::read(watch, events.data(), events.size()) > 0) {
        }
        static_cast<void>(reading.read());
        isReadAgain = ::read(watch, events.data(), events.size()) > 0;
        return std::chrono::system_clock::now() - before < tick / 2;
    };
    QTRY_VERIFY(readTwice());
    ::close(watch);
    QVERIFY(isReadAgain);
}

void NotificationRegistryTest::whatIsNoRegularFileIsNeitherReadNorReplaced_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("suffix");
    const QStringList kinds = SpecialFile::kinds();
    for (const QString &suffix : {QString(), QStringLiteral(".lock")}) {
        for (const QString &kind : kinds)
            QTest::newRow(qPrintable(kind + suffix)) << kind << suffix;
    }
}

void NotificationRegistryTest::whatIsNoRegularFileIsNeitherReadNorReplaced() {
    QFETCH(QString, kind);
    QFETCH(QString, suffix);
    QVERIFY(QDir().mkpath(folder()));
    const SpecialFile special(kind, registry().path() + suffix);
    if (!special.whyNot().isEmpty())
        QSKIP(qPrintable(special.whyNot()));
    QVERIFY(!registry().read());
    QVERIFY(!registry().apply(putting({entry(QStringLiteral("a"))})));
    QVERIFY(!registry().read());
    QCOMPARE(special.harm(), QString());
}

void NotificationRegistryTest::aLinkStaysALink() {
    const QString kept = _home->filePath(QStringLiteral("kept"));
    QVERIFY(QDir().mkpath(folder()));
    QVERIFY(QFile::link(kept, registry().path()));
    QVERIFY(registry().apply(putting({entry(QStringLiteral("a"))})));
    QVERIFY(registry().apply(putting({entry(QStringLiteral("b"))})));
    QCOMPARE(identities(*registry().read()), QStringList({"a", "b"}));
    overwrite("broken");
    QVERIFY(registry().apply(putting({entry(QStringLiteral("c"))})));
    QCOMPARE(identities(*registry().read()), QStringList{QStringLiteral("c")});
    QVERIFY(QFile::exists(kept + QStringLiteral(".corrupt")));
    QCOMPARE(QFile::symLinkTarget(registry().path()), kept);
    QVERIFY(!QFileInfo(kept).isSymLink());
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
