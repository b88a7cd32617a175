#include "CacheTesting.h"
#include "RecordingLogger.h"
#include "ScriptedLoader.h"
#include "SmallDisk.h"
#include "TestMain.h"
#include "feed/LocalCacheFile.h"
#include "logging/LogMessage.h"
#include "platform/HostBundle.h"

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

const QString identifier = QStringLiteral("com.example.FullDiskTest");

QString file() {
    return cacheFolder(identifier) + QStringLiteral("/PelorinNews.xml");
}

}  // namespace

/// Tests the feed's cache file on a real disk that is full or nearly full.
class FullDiskTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        if (!SmallDisk::whyNot().isEmpty())
            QSKIP(qPrintable(SmallDisk::whyNot()));
        HostBundle::setIdentity({identifier, {}, {}});
    }
    void init() {
        _disk.emplace(cacheFolder(identifier));
        QVERIFY(_disk->isMounted());
    }
    void cleanup() { _disk.reset(); }

    void aCopyThatHasNoRoomLeavesTheEarlierOne_data();
    void aCopyThatHasNoRoomLeavesTheEarlierOne();
    void aRefreshOnAFullDiskIsLoggedAndMendedByTheNext();

private:
    static QStringList filesOnTheDisk() {
        return QDir(cacheFolder(identifier)).entryList(QDir::Files | QDir::Hidden);
    }

    std::optional<SmallDisk> _disk;
};

void FullDiskTest::aCopyThatHasNoRoomLeavesTheEarlierOne_data() {
    QTest::addColumn<qint64>("room");
    QTest::addColumn<qint64>("size");
    constexpr qint64 room = 4 * SmallDisk::block;
    QTest::newRow("no room at all, a short text") << qint64(0) << qint64(200);
    QTest::newRow("one block, a short text") << SmallDisk::block << qint64(200);
    QTest::newRow("just under the room") << room << room - 2;
    QTest::newRow("all the room") << room << room;
    QTest::newRow("just over the room") << room << room + 2;
    QTest::newRow("a block over the room") << room << room + SmallDisk::block;
    QTest::newRow("far over the room") << room << 2 * SmallDisk::size;
}

void FullDiskTest::aCopyThatHasNoRoomLeavesTheEarlierOne() {
    QFETCH(qint64, room);
    QFETCH(qint64, size);
    const LocalCacheFile copy(file());
    const QString old(3000, QLatin1Char('o'));
    const QString text(size / 2 - 1, QLatin1Char('n'));
    Error error;
    QVERIFY(copy.write(old.toUtf8(), &error));
    _disk->leaveRoom(room);
    QCOMPARE(_disk->room(), room);

    const auto stamp = copy.write(text.toUtf8(), &error);
    QCOMPARE(stamp.has_value(), size <= room);
    if (!stamp) {
        QCOMPARE(error.domain, QStringLiteral("QFileDevice"));
        QCOMPARE(error.code, int(QFileDevice::ResourceError));
        QCOMPARE(_disk->room(), room);
    }
    QCOMPARE(filesOnTheDisk(), QStringList({"ballast", "PelorinNews.xml"}));
    QCOMPARE(readBytes(file()), byteOrderMark() + utf16Bytes(stamp ? text : old));

    _disk->freeRoom();
    QCOMPARE(copy.write(text.toUtf8(), &error).has_value(), size < SmallDisk::size);
}

void FullDiskTest::aRefreshOnAFullDiskIsLoggedAndMendedByTheNext() {
    const auto loader = std::make_shared<ScriptedLoader>();
    const auto logger = std::make_shared<RecordingLogger>();
    const auto cache = std::make_shared<OlvNewsCache>(loader);
    cache->setFeedBaseURL(QStringLiteral("http://127.0.0.1:9/feed.xml"));
    const auto download = [&](const QString &text) {
        loader->setOutcome(ScriptedLoader::answer(200, text.toUtf8()));
        const RefreshOutcome outcome = refreshAndWait(cache);
        QVERIFY(outcome.ended);
        QVERIFY(!outcome.error);
    };
    const QString old = feedOfTitles("en", {"old"});
    const QString text = feedOfTitles("en", {"new"});
    download(old);
    _disk->leaveRoom(0);
    cache->setLogger(logger);
    for (int round = 0; round < 2; ++round) {
        download(text);
        QCOMPARE(titles(*cache), QStringList{"new"});
        QCOMPARE(readBytes(file()), byteOrderMark() + utf16Bytes(old));
    }
    QStringList errors;
    for (const auto &[level, message] : logger->entries()) {
        if (level == LogLevelError)
            errors.append(message);
    }
    QCOMPARE(errors.size(), 2);
    QVERIFY(errors.first().startsWith(QLatin1String(
        "News Cache -refresh failed to write local cache: Error Domain=QFileDevice Code=")));

    _disk->freeRoom();
    download(text);
    QCOMPARE(readBytes(file()), byteOrderMark() + utf16Bytes(text));
}

PELORIN_SMALL_DISK_TEST_MAIN(FullDiskTest)
#include "FullDiskTest.moc"
