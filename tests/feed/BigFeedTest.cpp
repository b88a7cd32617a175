#include "CacheTesting.h"
#include "FeedServer.h"
#include "TestMain.h"
#include "feed/OlvNewsCacheFiltered.h"
#include "network/NetworkUrlLoader.h"
#include "network/TransportError.h"
#include "platform/HostBundle.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <ctime>
#include <mutex>

using namespace pelorinnews;
using namespace pelorinnews::test;
using namespace std::chrono_literals;

namespace {

constexpr qint64 thirtyMegabytes = 30'000'000;

/// How long this thread was ready to run but waited for a CPU, in milliseconds.
double timeInTheQueue() {
    // schedstat holds three numbers: nanoseconds on a CPU, nanoseconds of waiting for one, and the
    // number of time slices.
    const QList<QByteArray> fields = readBytes("/proc/thread-self/schedstat").split(' ');
    return fields.size() < 2 ? 0 : fields[1].toDouble() / 1e6;
}

/// The CPU time of this thread, in milliseconds.
double timeAtWork() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// Measures the longest delay of an event loop, with a timer of one millisecond: in wall time, in
/// wall time minus the time that the thread waited for a CPU, and in CPU time.
class LoopWatch {
public:
    LoopWatch() {
        _timer.setTimerType(Qt::PreciseTimer);
        _timer.setInterval(1ms);
        QObject::connect(&_timer, &QTimer::timeout, [this] { tick(); });
        _clock.start();
        _queued = timeInTheQueue();
        _worked = timeAtWork();
        _timer.start();
    }

    double longestBlock = 0;
    double longestOwnBlock = 0;
    double longestWork = 0;

private:
    void tick() {
        const double passed = static_cast<double>(_clock.nsecsElapsed()) / 1e6;
        const double waited = timeInTheQueue();
        longestBlock = std::max(longestBlock, passed - _last);
        longestOwnBlock = std::max(longestOwnBlock, passed - _last - (waited - _queued));
        _last = passed;
        _queued = waited;
        const double work = timeAtWork();
        longestWork = std::max(longestWork, work - _worked);
        _worked = work;
    }

    QTimer _timer;
    QElapsedTimer _clock;
    double _last = 0;
    double _queued = 0;
    double _worked = 0;
};

/// The result of a refresh, passed from the completion callback's thread to this one.
class Ending {
public:
    void set(const std::optional<Error> &outcome) {
        const std::lock_guard lock(_mutex);
        _came = true;
        _heard = outcome;
    }
    [[nodiscard]] bool hasCome() const {
        const std::lock_guard lock(_mutex);
        return _came;
    }
    /// The refresh's error. Before the completion callback has run: the error "no end".
    [[nodiscard]] std::optional<Error> error() const {
        const std::lock_guard lock(_mutex);
        return _heard;
    }

private:
    mutable std::mutex _mutex;
    bool _came = false;
    std::optional<Error> _heard = Error{QStringLiteral("no end"), 0, {}};
};

}  // namespace

class BigFeedTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void aFeedOfThirtyMegabytesDoesNotBlockTheMainThread();
    void oneThatIsCutHalfWayLeavesTheOldItems();

private:
    /// The limit in milliseconds; sanitizers make the work several times slower.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__) || defined(__clang__)
    static constexpr double maxWork = 100;
#else
    static constexpr double maxWork = 20;
#endif
    /// CPU time is measured exactly, so its limit is strict. The wall-time limit is wider: on a
    /// busy computer a thread that holds a lock for an instant may lose its CPU just then.
    static void checkNotBlocked(const LoopWatch &watch) {
        QVERIFY2(watch.longestWork < maxWork, qPrintable(QString::number(watch.longestWork)));
        QVERIFY2(watch.longestOwnBlock < 200, qPrintable(QString::number(watch.longestOwnBlock)));
    }
    /// Refreshes while this thread's event loop runs, and reads the cache meanwhile as the window
    /// would.
    std::optional<Error> refreshUnderWatch(LoopWatch &watch);

    FeedServer _server;
    std::shared_ptr<OlvNewsCacheFiltered> _cache;
};

void BigFeedTest::initTestCase() {
    HostBundle::setIdentity({"com.example.BigFeedTest", {}, {}});
    QVERIFY(_server.start());
    FeedReply big;
    big.generatedBytes = thirtyMegabytes;
    _server.setReply(big);
    _cache = std::make_shared<OlvNewsCacheFiltered>(std::make_shared<NetworkUrlLoader>());
    _cache->setFeedBaseURL(_server.feedAddress());
    _cache->setDesiredLocale(QStringLiteral("en"));
}

std::optional<Error> BigFeedTest::refreshUnderWatch(LoopWatch &watch) {
    // Shared with the completion callback, which runs on another thread, perhaps after this
    // function gave up.
    const auto ending = std::make_shared<Ending>();
    _cache->refresh([ending](const std::optional<Error> &outcome) { ending->set(outcome); });
    QEventLoop loop;
    // Makes the same calls as the window; `itemAtIndex` briefly locks the list of items.
    QTimer reader;
    QObject::connect(&reader, &QTimer::timeout, [this, &loop, &ending] {
        static_cast<void>(_cache->itemAtIndex(_cache->count() / 2));
        static_cast<void>(_cache->retrievingContent());
        if (ending->hasCome())
            loop.quit();
    });
    reader.start(7ms);
    QTimer::singleShot(100s, &loop, &QEventLoop::quit);
    loop.exec();
    qInfo(
        "longest block of the main thread %.1f ms, without waiting for a CPU %.1f ms, "
        "CPU time in one iteration of the event loop %.1f ms",
        watch.longestBlock, watch.longestOwnBlock, watch.longestWork);
    return ending->error();
}

void BigFeedTest::aFeedOfThirtyMegabytesDoesNotBlockTheMainThread() {
    for (int round = 0; round < 2; ++round) {
        LoopWatch watch;
        const auto error = refreshUnderWatch(watch);
        QVERIFY2(!error, qPrintable(error ? error->description() : QString()));
        QVERIFY(_cache->count() > 9'000);
        checkNotBlocked(watch);
    }
}

void BigFeedTest::oneThatIsCutHalfWayLeavesTheOldItems() {
    FeedReply cut;
    cut.generatedBytes = thirtyMegabytes;
    cut.cutAfter = thirtyMegabytes / 2;
    _server.setReply(cut);
    const QString file = cacheFolder("com.example.BigFeedTest") + "/PelorinNews.xml";
    QVERIFY(_cache->parseFeed(feedOfTitles("en", {"old"}), nullptr));
    _cache->applyFilter();
    QVERIFY(QFile::remove(file));
    LoopWatch watch;
    const auto error = refreshUnderWatch(watch);
    QVERIFY(error);
    QCOMPARE(error->domain, transportErrorDomain());
    QCOMPARE(titles(*_cache), QStringList{"old"});
    QVERIFY(!QFile::exists(file));
    checkNotBlocked(watch);
    _cache.reset();
}

PELORIN_CORE_TEST_MAIN(BigFeedTest)
#include "BigFeedTest.moc"
