#include "TestMain.h"
#include "TimeOfDay.h"
#include "platform/FileLock.h"
#include "platform/SteadyCondition.h"

#include <QDateTime>
#include <QFile>
#include <QTemporaryDir>

#include <mutex>
#include <thread>

namespace pelorinnews::test {

using std::chrono::milliseconds;

/// Sets the clock while something waits. A wait that followed it would go on for ten years.
class TimeOfDayTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { setTimeOfDayAhead(std::chrono::seconds(0)); }

    void theTestSetsTheClock();
    void aWaitEndsThoughTheClockIsSetBack();
    void aWaitIsNotEndedByTheClock();
    void aWaitEndsWhenItIsTold();
    void aLockIsTakenThoughTheClockIsSetBack();
};

void TimeOfDayTest::theTestSetsTheClock() {
    const QDateTime before = QDateTime::currentDateTimeUtc();
    setTimeOfDayAhead(tenYears);
    QVERIFY(before.daysTo(QDateTime::currentDateTimeUtc()) >= 3652);
    setTimeOfDayAhead(-tenYears);
    QVERIFY(before.daysTo(QDateTime::currentDateTimeUtc()) <= -3651);
}

/// The program's time of day is ahead of the kernel's, as if the clock were set back once the
/// deadline is known.
void TimeOfDayTest::aWaitEndsThoughTheClockIsSetBack() {
    std::mutex mutex;
    SteadyCondition condition;
    setTimeOfDayAhead(tenYears);
    std::unique_lock lock(mutex);
    QVERIFY(!condition.waitFor(lock, milliseconds(20), [] { return false; }));
    QVERIFY(lock.owns_lock());
}

void TimeOfDayTest::aWaitIsNotEndedByTheClock() {
    std::mutex mutex;
    SteadyCondition condition;
    bool isReached = false;
    setTimeOfDayAhead(-tenYears);
    std::thread other([&] {
        std::this_thread::sleep_for(milliseconds(50));
        const std::lock_guard lock(mutex);
        isReached = true;
        condition.notifyAll();
    });
    {
        std::unique_lock lock(mutex);
        QVERIFY(condition.waitFor(lock, milliseconds(testPatience), [&] { return isReached; }));
    }
    other.join();
}

void TimeOfDayTest::aWaitEndsWhenItIsTold() {
    std::mutex mutex;
    SteadyCondition condition;
    bool isReached = false;
    std::thread other([&] {
        const std::lock_guard lock(mutex);
        isReached = true;
        condition.notifyOne();
    });
    {
        std::unique_lock lock(mutex);
        condition.wait(lock, [&] { return isReached; });
    }
    other.join();
    QVERIFY(isReached);
}

/// Between two looks at the age of an empty lock file.
void TimeOfDayTest::aLockIsTakenThoughTheClockIsSetBack() {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("a.lock"));
    for (int questions = 1; questions <= 3; ++questions) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        setTimeOfDayAheadAfter(questions, -tenYears);
        QVERIFY(FileLock(path, milliseconds(testPatience)).isLocked());
        setTimeOfDayAheadAfter(0, std::chrono::seconds(0));
        setTimeOfDayAhead(std::chrono::seconds(0));
    }
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::TimeOfDayTest)
#include "TimeOfDayTest.moc"
