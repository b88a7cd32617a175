#include "TestMain.h"
#include "platform/SleepAwareTimer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <limits>
#include <optional>

using namespace std::chrono_literals;

namespace pelorinnews {

namespace {

constexpr int oneAndAHalf = 1500;

#ifdef Q_OS_LINUX
/// The kernel's descriptions of this process's timer descriptors (timerfd), one text for each.
QStringList alarms() {
    QStringList found;
    const QDir descriptors(QStringLiteral("/proc/self/fdinfo"));
    for (const QString &name : descriptors.entryList(QDir::Files)) {
        QFile file(descriptors.filePath(name));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const QString text = QString::fromLatin1(file.readAll());
        if (text.contains(QStringLiteral("clockid:")))
            found << text;
    }
    return found;
}

qint64 secondsOf(const QString &alarm, const QString &field) {
    const qsizetype start = alarm.indexOf(field + QStringLiteral(": ("));
    if (start < 0)
        return -1;
    const QString rest = alarm.mid(start + field.size() + 3);
    return rest.left(rest.indexOf(QLatin1Char(','))).toLongLong();
}
#endif

/// Sets a flag when it is destroyed, that is, when its last owner releases it.
struct Hold {
    explicit Hold(bool &flag) : released(flag) {}
    Hold(const Hold &) = delete;
    Hold &operator=(const Hold &) = delete;
    ~Hold() { released = true; }
    bool &released;
};

/// Owns a timer whose callback owns the `Owner`: a reference cycle, like that of a window
/// controller and its refresh timer.
struct Owner : std::enable_shared_from_this<Owner> {
    void start(quint64 interval) {
        timer.emplace(interval, [self = shared_from_this()] { self->timer->invalidate(); });
    }
    std::optional<SleepAwareTimer> timer;
};

}  // namespace

class SleepAwareTimerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void firesFirstAfterOneFullIntervalAndThenAgain();
    void takesZeroSecondsForOne();
    void missedIntervalsAreOneFiring();
    void firesOnTheThreadThatMadeIt();
    void invalidatingReleasesTheCallbackAndStopsTheFirings();
    void invalidatingInsideTheCallbackLetsItEnd();
    void invalidatingOnAForeignThreadReachesTheTimersOwn();
    void destroyingItInsideTheCallbackIsHarmless();
    void anOwnerHeldByItsOwnTimerGoesWhenTheTimerIsInvalidated();
    void aNestedEventLoopInTheCallbackDoesNotFireAgain();
    void anEmptyCallbackMakesAnInvalidTimer();
    void countsSleepOnTheBootClock();
    void takesLongIntervals_data();
    void takesLongIntervals();
    void aClockHandedInCountsTheTimeSlept();
    void aClockHandedInMakesUpForManyMissedIntervalsOnce();
    void closesItsAlarm();
};

void SleepAwareTimerTest::firesFirstAfterOneFullIntervalAndThenAgain() {
    QList<qint64> times;
    QElapsedTimer clock;
    clock.start();
    const SleepAwareTimer timer(1, [&] { times << clock.elapsed(); });
    QTest::qWait(2 * oneAndAHalf);
    QVERIFY(times.size() >= 2);
    QVERIFY2(times[0] >= 999 && times[0] < 1900, qPrintable(QString::number(times[0])));
    QVERIFY2(times[1] >= 1999 && times[1] < 2900, qPrintable(QString::number(times[1])));
}

void SleepAwareTimerTest::takesZeroSecondsForOne() {
    int firings = 0;
    const SleepAwareTimer timer(0, [&] { ++firings; });
    QTest::qWait(900);
    QCOMPARE(firings, 0);
    QTRY_COMPARE_WITH_TIMEOUT(firings, 1, 1000);
}

void SleepAwareTimerTest::missedIntervalsAreOneFiring() {
    int firings = 0;
    const SleepAwareTimer timer(1, [&] { ++firings; });
    QThread::msleep(3200);
    QTest::qWait(300);
    QCOMPARE(firings, 1);
    // Missed firings do not shift later ones: the next one comes at the fourth second.
    QTRY_COMPARE_WITH_TIMEOUT(firings, 2, 1200);
}

void SleepAwareTimerTest::firesOnTheThreadThatMadeIt() {
    std::atomic<QThread *> firedOn = nullptr;
    std::unique_ptr<QThread> worker(QThread::create([&firedOn] {
        QEventLoop loop;
        const SleepAwareTimer timer(1, [&] {
            firedOn = QThread::currentThread();
            loop.quit();
        });
        QTimer::singleShot(testPatience / 2, &loop, &QEventLoop::quit);
        loop.exec();
    }));
    worker->start();
    QVERIFY(worker->wait(testPatience));
    QCOMPARE(firedOn.load(), worker.get());
}

void SleepAwareTimerTest::invalidatingReleasesTheCallbackAndStopsTheFirings() {
    bool released = false;
    int firings = 0;
    SleepAwareTimer timer(1, [&firings, hold = std::make_shared<Hold>(released)] { ++firings; });
    QVERIFY(timer.isValid());
    QVERIFY(!released);
    timer.invalidate();
    QVERIFY(released);
    QVERIFY(!timer.isValid());
    timer.invalidate();
    QTest::qWait(oneAndAHalf);
    QCOMPARE(firings, 0);
}

void SleepAwareTimerTest::invalidatingInsideTheCallbackLetsItEnd() {
    bool released = false;
    bool releasedTooEarly = true;
    int firings = 0;
    std::optional<SleepAwareTimer> timer;
    timer.emplace(1, [&, hold = std::make_shared<Hold>(released)] {
        timer->invalidate();
        releasedTooEarly = hold->released;
        ++firings;
    });
    QTRY_COMPARE(firings, 1);
    QVERIFY(!releasedTooEarly);
    QVERIFY(released);
    QTest::qWait(oneAndAHalf);
    QCOMPARE(firings, 1);
}

void SleepAwareTimerTest::invalidatingOnAForeignThreadReachesTheTimersOwn() {
    bool released = false;
    int firings = 0;
    SleepAwareTimer timer(1, [&firings, hold = std::make_shared<Hold>(released)] { ++firings; });
    std::unique_ptr<QThread> worker(QThread::create([&timer] { timer.invalidate(); }));
    worker->start();
    QVERIFY(worker->wait(testPatience));
    QVERIFY(!released);
    QTRY_VERIFY(released);
    QTest::qWait(oneAndAHalf);
    QCOMPARE(firings, 0);
}

void SleepAwareTimerTest::destroyingItInsideTheCallbackIsHarmless() {
    bool released = false;
    int firings = 0;
    std::optional<SleepAwareTimer> timer;
    timer.emplace(1, [&, hold = std::make_shared<Hold>(released)] {
        timer.reset();
        if (!hold->released)
            ++firings;
    });
    QTRY_COMPARE(firings, 1);
    QVERIFY(released);

    timer.emplace(
        1,
        [&] {
            timer.reset();
            ++firings;
        },
        [] { return std::chrono::milliseconds{QDateTime::currentMSecsSinceEpoch()}; });
    QTRY_COMPARE(firings, 2);
    QVERIFY(!timer);
}

void SleepAwareTimerTest::anOwnerHeldByItsOwnTimerGoesWhenTheTimerIsInvalidated() {
    auto owner = std::make_shared<Owner>();
    const std::weak_ptr<Owner> watched = owner;
    owner->start(1000);
    Owner &kept = *owner;
    owner.reset();
    QVERIFY(!watched.expired());
    kept.timer->invalidate();
    QVERIFY(watched.expired());

    owner = std::make_shared<Owner>();
    const std::weak_ptr<Owner> watchedInside = owner;
    owner->start(1);
    owner.reset();
    QTRY_VERIFY(watchedInside.expired());
}

void SleepAwareTimerTest::aNestedEventLoopInTheCallbackDoesNotFireAgain() {
    int firings = 0;
    int deepest = 0;
    int depth = 0;
    const SleepAwareTimer timer(1, [&] {
        deepest = std::max(deepest, ++depth);
        if (++firings == 1)
            QTest::qWait(oneAndAHalf);
        --depth;
    });
    QTRY_VERIFY(firings >= 2);
    QCOMPARE(deepest, 1);
}

void SleepAwareTimerTest::anEmptyCallbackMakesAnInvalidTimer() {
    SleepAwareTimer timer(1, {});
    QVERIFY(!timer.isValid());
    timer.invalidate();
}

void SleepAwareTimerTest::countsSleepOnTheBootClock() {
#ifdef Q_OS_LINUX
    const SleepAwareTimer timer(14400, [] {});
    QCOMPARE(alarms().size(), 1);
    const QString expected = QStringLiteral("clockid: %1\n").arg(CLOCK_BOOTTIME);
    QVERIFY2(alarms().first().contains(expected), qPrintable(alarms().first()));
#else
    QSKIP("this platform has no timer on CLOCK_BOOTTIME");
#endif
}

void SleepAwareTimerTest::takesLongIntervals_data() {
    QTest::addColumn<quint64>("interval");
    QTest::addColumn<qint64>("period");
    const qint64 century = SleepAwareTimer::maxInterval.count();
    QTest::newRow("four hours") << quint64{14400} << qint64{14400};
    QTest::newRow("sixty days") << quint64{5184000} << qint64{5184000};
    QTest::newRow("beyond 32 bits") << quint64{5000000000} << century;
    QTest::newRow("a century") << static_cast<quint64>(century) << century;
    QTest::newRow("the largest signed") << quint64{std::numeric_limits<qint64>::max()} << century;
    QTest::newRow("the largest") << std::numeric_limits<quint64>::max() << century;
}

void SleepAwareTimerTest::takesLongIntervals() {
    QFETCH(quint64, interval);
    QFETCH(qint64, period);
    int firings = 0;
    const SleepAwareTimer polling(
        interval, [&] { ++firings; }, [] { return 0ms; });
#ifdef Q_OS_LINUX
    const SleepAwareTimer timer(interval, [&] { ++firings; });
    QCOMPARE(alarms().size(), 1);
    QCOMPARE(secondsOf(alarms().first(), QStringLiteral("it_interval")), period);
    QVERIFY(secondsOf(alarms().first(), QStringLiteral("it_value")) >= period - 2);
#endif
    QTest::qWait(50);
    QCOMPARE(firings, 0);
}

void SleepAwareTimerTest::aClockHandedInCountsTheTimeSlept() {
    // The computer slept: the clock advances by half an hour while the thread's own timers see one
    // second. The interval has passed, although the thread was awake for only a small part of it.
    std::chrono::milliseconds now = 0ms;
    int firings = 0;
    int readings = 0;
    const SleepAwareTimer timer(
        1, [&] { ++firings; },
        [&] {
            ++readings;
            return now;
        });
    QTest::qWait(oneAndAHalf);
    QVERIFY(readings > 1);
    QCOMPARE(firings, 0);
    now += 30min;
    QTRY_COMPARE_WITH_TIMEOUT(firings, 1, 2000);
}

void SleepAwareTimerTest::aClockHandedInMakesUpForManyMissedIntervalsOnce() {
    std::chrono::milliseconds now = 0ms;
    int firings = 0;
    const SleepAwareTimer timer(
        1, [&] { ++firings; }, [&] { return now; });
    now = 1h;
    QTRY_COMPARE_WITH_TIMEOUT(firings, 1, 2000);
    QTest::qWait(oneAndAHalf);
    QCOMPARE(firings, 1);
    now += 999ms;
    QTest::qWait(1100);
    QCOMPARE(firings, 1);
    now += 1ms;
    QTRY_COMPARE_WITH_TIMEOUT(firings, 2, 2000);
}

void SleepAwareTimerTest::closesItsAlarm() {
#ifdef Q_OS_LINUX
    const qsizetype before = alarms().size();
    {
        SleepAwareTimer invalidated(60, [] {});
        const SleepAwareTimer destroyed(60, [] {});
        QCOMPARE(alarms().size(), before + 2);
        invalidated.invalidate();
        QCOMPARE(alarms().size(), before + 1);
    }
    QCOMPARE(alarms().size(), before);
#else
    QSKIP("this platform has no timer on CLOCK_BOOTTIME");
#endif
}

}  // namespace pelorinnews

PELORIN_CORE_TEST_MAIN(pelorinnews::SleepAwareTimerTest)
#include "SleepAwareTimerTest.moc"
