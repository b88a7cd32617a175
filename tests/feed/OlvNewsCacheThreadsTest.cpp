#include "CacheTesting.h"
#include "RecordingLogger.h"
#include "ScriptedLoader.h"
#include "TestMain.h"
#include "feed/OlvNewsCacheFiltered.h"
#include "platform/HostBundle.h"

#include <QSemaphore>

#include <atomic>
#include <cstdio>
#include <mutex>
#include <thread>
#include <vector>

using namespace pelorinnews;
using namespace pelorinnews::test;
using namespace std::chrono_literals;

namespace {

const QDateTime now = QDateTime::fromString(QStringLiteral("2026-03-31T12:00:00Z"), Qt::ISODate);

/// A feed of `count` items, every second one of them in the category "mac".
QByteArray feed(const QString &language, int count) {
    QList<CacheEntry> entries;
    for (int index = 0; index < count; ++index)
        entries.append({language + QString::number(index),
                        index % 2 == 0 ? QStringLiteral("mac") : QStringLiteral("pc"),
                        now.addDays(-index % 60)});
    return feedText(language, entries).toUtf8();
}

}  // namespace

class OlvNewsCacheThreadsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { HostBundle::setIdentity({"com.example.ThreadsTest", {}, {}}); }
    void init() {
        _loader = std::make_shared<ScriptedLoader>();
        _cache = std::make_shared<OlvNewsCacheFiltered>(_loader, [] { return now; });
        _cache->setFeedBaseURL(QStringLiteral("http://127.0.0.1:9/feed"));
    }
    void cleanup() { _cache.reset(); }

    void everythingAtOnceIsInOrder();
    void theLastFilterChangeStaysWhateverRunsMeanwhile();
    void anOlderFilterRunDoesNotReplaceANewerView();
    void theLastViewingOnlyMovesForwardUnderManyReaders();
    void languageAndItemsAreOfOneFeed();
    void aCopyThatAnotherReplacedAtTheSameTimeIsWrittenAgain();

private:
    std::shared_ptr<ScriptedLoader> _loader;
    std::shared_ptr<OlvNewsCacheFiltered> _cache;
};

void OlvNewsCacheThreadsTest::everythingAtOnceIsInOrder() {
    const QByteArray german = feed("de", 300);
    const QByteArray english = feed("en", 200);
    _loader->setOutcome(ScriptedLoader::answer(200, german));
    _cache->setLastViewing(now.addDays(-40));
    std::atomic<bool> stop = false;
    std::atomic<int> ended = 0;
    std::atomic<bool> sound = true;
    std::vector<std::thread> threads;
    const auto repeat = [&](auto work) {
        threads.emplace_back([&stop, work] {
            for (int turn = 0; !stop; ++turn)
                work(turn);
        });
    };
    repeat([&](int turn) {
        _loader->setOutcome(turn % 3 == 0   ? ScriptedLoader::answer(200, german)
                            : turn % 3 == 1 ? ScriptedLoader::answer(200, english)
                                            : ScriptedLoader::answer(404, "gone"));
        _cache->setLogger(turn % 2 == 0 ? std::make_shared<RecordingLogger>() : nullptr);
        _cache->setDesiredLocale(turn % 2 == 0 ? QStringLiteral("de") : QString());
        _cache->setFeedType(QStringLiteral("standard"));
        if (!refreshAndWait(_cache).ended)
            sound = false;
        ++ended;
    });
    repeat([&](int) {
        if (!refreshAndWait(_cache).ended)
            sound = false;
        ++ended;
    });
    repeat([&](int turn) {
        _cache->setCategoriesOfInterest(turn % 2 == 0 ? QStringList{"mac"} : QStringList());
        _cache->setFilterTimeInterval(turn % 3 == 0 ? 30 * 86400.0 : 0);
        _cache->setShowOnlyUnviewedItems(turn % 5 == 0);
    });
    for (int reader = 0; reader < 2; ++reader) {
        repeat([&](int) {
            for (quint64 index = 0; index < _cache->count(); ++index) {
                const auto item = _cache->itemAtIndex(index);
                if (item && item->title().isEmpty())
                    sound = false;
            }
            static_cast<void>(_cache->peekAtLatestItem());
            static_cast<void>(_cache->sinceLastViewingCount());
            static_cast<void>(_cache->unfilteredCount());
            static_cast<void>(_cache->retrievedLocale());
            static_cast<void>(_cache->retrievingContent());
            _cache->setLastViewing(_cache->lastViewing().addDays(-1));
        });
    }
    std::this_thread::sleep_for(1500ms);
    stop = true;
    for (std::thread &thread : threads)
        thread.join();
    QVERIFY(sound);
    QVERIFY2(ended > 5, qPrintable(QString::number(ended)));
}

void OlvNewsCacheThreadsTest::theLastFilterChangeStaysWhateverRunsMeanwhile() {
    _loader->setOutcome(ScriptedLoader::answer(200, feed("en", 400)));
    QVERIFY(!refreshAndWait(_cache).error);
    for (int round = 0; round < 100; ++round) {
        const bool mac = round % 2 == 0;
        QSemaphore refreshed;
        _cache->refresh([&](const std::optional<Error> &) { refreshed.release(); });
        _cache->setCategoriesOfInterest(mac ? QStringList{"mac"} : QStringList());
        // The caller's change takes effect at once, and no filter run that began earlier undoes it.
        QCOMPARE(_cache->count(), mac ? 200U : 400U);
        QVERIFY(refreshed.tryAcquire(1, testPatience));
        QCOMPARE(_cache->count(), mac ? 200U : 400U);
    }
}

void OlvNewsCacheThreadsTest::anOlderFilterRunDoesNotReplaceANewerView() {
    // A filter run calls the clock function after it has read the settings and before it filters.
    // The clock function blocks the older run there.
    std::atomic<bool> stopping = false;
    QSemaphore stopped;
    QSemaphore mayGoOn;
    _cache = std::make_shared<OlvNewsCacheFiltered>(_loader, [&] {
        if (stopping.exchange(false)) {
            stopped.release();
            mayGoOn.acquire();
        }
        return now;
    });
    QVERIFY(_cache->parseFeed(QString::fromUtf8(feed("en", 120)), nullptr));
    _cache->setFilterTimeInterval(365 * 86400.0);
    QCOMPARE(_cache->count(), 120U);

    stopping = true;
    std::thread older([&] { _cache->applyFilter(); });
    stopped.acquire();
    _cache->setCategoriesOfInterest({"mac"});
    const quint64 newer = _cache->count();
    mayGoOn.release();
    older.join();
    QCOMPARE(newer, 60U);
    QCOMPARE(_cache->count(), 60U);
}

void OlvNewsCacheThreadsTest::theLastViewingOnlyMovesForwardUnderManyReaders() {
    QVERIFY(_cache->parseFeed(QString::fromUtf8(feed("en", 60)), nullptr));
    _cache->applyFilter();
    for (int round = 0; round < 2000; ++round) {
        _cache->setLastViewing(now.addDays(-100));
        std::atomic<int> ready = 0;
        const auto meet = [&ready] {
            for (++ready; ready < 2;) {
            }
        };
        std::thread other([&] {
            meet();
            for (quint64 index = 59; index > 0; --index)
                static_cast<void>(_cache->itemAtIndex(index));
        });
        meet();
        // Read the item after a different delay in each round.
        for (std::atomic<int> pause = round % 500; pause > 0; --pause) {
        }
        static_cast<void>(_cache->itemAtIndex(0));
        other.join();
        QCOMPARE(_cache->lastViewing(), now);
    }
}

void OlvNewsCacheThreadsTest::languageAndItemsAreOfOneFeed() {
    const QString texts[] = {QString::fromUtf8(feed("de", 3)), QString::fromUtf8(feed("en", 5))};
    const auto plain = std::make_shared<OlvNewsCache>(_loader);
    for (int round = 0; round < 300; ++round) {
        std::thread other([&] { plain->parseFeed(texts[0], nullptr); });
        plain->parseFeed(texts[1], nullptr);
        other.join();
        QCOMPARE(plain->count(), plain->retrievedLocale() == QLatin1String("de") ? 3U : 5U);
    }
}

void OlvNewsCacheThreadsTest::aCopyThatAnotherReplacedAtTheSameTimeIsWrittenAgain() {
    const QString file = cacheFolder("com.example.ThreadsTest") + "/PelorinNews.xml";
    const QByteArray theirs = byteOrderMark() + utf16Bytes(QString::fromUtf8(feed("de", 1)));
    std::mutex pause;
    std::atomic<bool> stop = false;
    std::thread other([&] {
        const QString made = file + ".other";
        while (!stop) {
            {
                const std::lock_guard lock(pause);
                writeBytes(made, theirs);
                std::rename(made.toUtf8().constData(), file.toUtf8().constData());
            }
            std::this_thread::yield();
        }
    });
    int lost = 0;
    for (int round = 0; round < 100; ++round) {
        const QByteArray ours = feed("en", round + 2);
        _loader->setOutcome(ScriptedLoader::answer(200, ours));
        refreshAndWait(_cache);
        const std::lock_guard lock(pause);
        refreshAndWait(_cache);
        if (readBytes(file) != byteOrderMark() + utf16Bytes(QString::fromUtf8(ours)))
            ++lost;
    }
    stop = true;
    other.join();
    QCOMPARE(lost, 0);
}

PELORIN_CORE_TEST_MAIN(OlvNewsCacheThreadsTest)
#include "OlvNewsCacheThreadsTest.moc"
