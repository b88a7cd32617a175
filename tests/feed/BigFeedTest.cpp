#include "CacheTesting.h"
#include "FeedServer.h"
#include "HostBundle.h"
#include "NetworkUrlLoader.h"
#include "OlvNewsCacheFiltered.h"
#include "TestMain.h"

#include <QElapsedTimer>
#include <QTimer>

#include <atomic>
#include <ctime>

using namespace pelorinnews;
using namespace pelorinnews::test;
using namespace std::chrono_literals;

namespace {

constexpr qint64 hundredMegabytes = 100'000'000;

/// The time this thread has been running, in milliseconds.
double threadTime() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

/// Watches an event loop: how long it let a timer of one millisecond wait, and how much of that it
/// spent working (the rest it was asleep, or had no processor).
class LoopWatch {
public:
    LoopWatch() {
        timer.setTimerType(Qt::PreciseTimer);
        timer.setInterval(1ms);
        QObject::connect(&timer, &QTimer::timeout, [this] { tick(); });
        clock.start();
        work = threadTime();
        timer.start();
    }

    double longestBlock = 0;
    double longestWork = 0;

private:
    void tick() {
        const double passed = static_cast<double>(clock.nsecsElapsed()) / 1e6;
        const double worked = threadTime();
        longestBlock = std::max(longestBlock, passed - last);
        longestWork = std::max(longestWork, worked - work);
        last = passed;
        work = worked;
    }

    QTimer timer;
    QElapsedTimer clock;
    double last = 0;
    double work = 0;
};

}  // namespace

class BigFeedTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void aFeedOfAHundredMegabytesDoesNotBlockTheMainThread();
    void oneThatIsCutHalfWayLeavesTheOldItems();

private:
    /// Refreshes while this thread's event loop runs, as the window would use the cache meanwhile.
    std::optional<Error> refreshUnderWatch(LoopWatch &watch);

    FeedServer server;
    std::shared_ptr<OlvNewsCacheFiltered> cache;
};

void BigFeedTest::initTestCase() {
    HostBundle::setIdentity({"com.example.BigFeedTest", {}, {}});
    QVERIFY(server.start());
    FeedReply big;
    big.generatedBytes = hundredMegabytes;
    server.setReply(big);
    cache = std::make_shared<OlvNewsCacheFiltered>(std::make_shared<NetworkUrlLoader>());
    cache->setFeedBaseURL(server.feedAddress());
    cache->setDesiredLocale(QStringLiteral("en"));
}

std::optional<Error> BigFeedTest::refreshUnderWatch(LoopWatch &watch) {
    std::atomic<bool> ended = false;
    std::optional<Error> error;
    cache->refresh([&](const std::optional<Error> &outcome) {
        error = outcome;
        ended = true;
    });
    // Reads of the window's kind, a list held for a moment included.
    QTimer reader;
    QObject::connect(&reader, &QTimer::timeout, [this] {
        static_cast<void>(cache->itemAtIndex(cache->count() / 2));
        static_cast<void>(cache->retrievingContent());
    });
    reader.start(7ms);
    [&ended] { QTRY_VERIFY_WITH_TIMEOUT(ended.load(), 100000); }();
    qInfo("longest block of the main thread %.1f ms, longest work in one turn %.1f ms",
          watch.longestBlock, watch.longestWork);
    return error;
}

void BigFeedTest::aFeedOfAHundredMegabytesDoesNotBlockTheMainThread() {
    for (int round = 0; round < 2; ++round) {
        LoopWatch watch;
        const auto error = refreshUnderWatch(watch);
        QVERIFY2(!error, qPrintable(error ? error->description() : QString()));
        QVERIFY(cache->count() > 30'000);
        // The bound is on the thread's own work: on a busy machine it may wait for a processor.
        QVERIFY2(watch.longestWork < 20, qPrintable(QString::number(watch.longestWork)));
        QVERIFY2(watch.longestBlock < 500, qPrintable(QString::number(watch.longestBlock)));
    }
}

void BigFeedTest::oneThatIsCutHalfWayLeavesTheOldItems() {
    FeedReply cut;
    cut.generatedBytes = hundredMegabytes;
    cut.cutAfter = hundredMegabytes / 2;
    server.setReply(cut);
    const QString file = cacheFolder("com.example.BigFeedTest") + "/PelorinNews.xml";
    QVERIFY(cache->parseFeed(feedOfTitles("en", {"old"}), nullptr));
    cache->applyFilter();
    QVERIFY(QFile::remove(file));
    LoopWatch watch;
    const auto error = refreshUnderWatch(watch);
    QVERIFY(error);
    QCOMPARE(error->domain, QStringLiteral("QNetworkReply::NetworkError"));
    QCOMPARE(titles(*cache), QStringList{"old"});
    QVERIFY(!QFile::exists(file));
    QVERIFY2(watch.longestWork < 20, qPrintable(QString::number(watch.longestWork)));
    cache.reset();
}

PELORIN_CORE_TEST_MAIN(BigFeedTest)
#include "BigFeedTest.moc"
