#include "TestMain.h"
#include "platform/FileLock.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <optional>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>

namespace pelorinnews::test {

using std::chrono::milliseconds;

class FileLockTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { _folder = std::make_unique<QTemporaryDir>(); }

    void keepsOutOthersUntilItIsDestroyed();
    void waitsForARelease();
    void givesUpAfterTheTimeout();
    void breaksTheLockOfAProcessKilledWhileLocking();
    void keepsAnEmptyLockFileThatIsHeld();
    void doesNotWaitWhereNoLockFileCanBeMade_data();
    void doesNotWaitWhereNoLockFileCanBeMade();

private:
    [[nodiscard]] QString path() const { return _folder->filePath(QStringLiteral("a.lock")); }

    std::unique_ptr<QTemporaryDir> _folder;
};

void FileLockTest::keepsOutOthersUntilItIsDestroyed() {
    {
        const FileLock lock(path(), milliseconds(testPatience));
        QVERIFY(lock.isLocked());
        QVERIFY(!FileLock(path(), milliseconds(0)).isLocked());
        QVERIFY(QFile::exists(path()));
    }
    QVERIFY(!QFile::exists(path()));
    QVERIFY(FileLock(path(), milliseconds(0)).isLocked());
}

void FileLockTest::waitsForARelease() {
    std::optional<FileLock> held;
    held.emplace(path(), milliseconds(testPatience));
    QVERIFY(held->isLocked());
    std::thread releasing([&] {
        std::this_thread::sleep_for(milliseconds(150));
        held.reset();
    });
    const FileLock lock(path(), milliseconds(testPatience));
    releasing.join();
    QVERIFY(lock.isLocked());
}

void FileLockTest::givesUpAfterTheTimeout() {
    const FileLock held(path(), milliseconds(testPatience));
    QElapsedTimer clock;
    clock.start();
    QVERIFY(!FileLock(path(), milliseconds(120)).isLocked());
    QVERIFY(clock.elapsed() >= 120);
    QVERIFY(held.isLocked());
}

// Such a process leaves an empty lock file.
void FileLockTest::breaksTheLockOfAProcessKilledWhileLocking() {
    QFile file(path());
    QVERIFY(file.open(QFile::WriteOnly));
    file.close();
    QVERIFY(FileLock(path(), milliseconds(0)).isLocked());
}

void FileLockTest::keepsAnEmptyLockFileThatIsHeld() {
    QFile file(path());
    QVERIFY(file.open(QFile::ReadWrite));
    QCOMPARE(::flock(file.handle(), LOCK_EX), 0);
    QTest::qSleep(150);
    QVERIFY(!FileLock(path(), milliseconds(0)).isLocked());
    QVERIFY(file.exists());
}

void FileLockTest::doesNotWaitWhereNoLockFileCanBeMade_data() {
    QTest::addColumn<QString>("place");
    QTest::newRow("no folder") << QStringLiteral("absent/a.lock");
    QTest::newRow("a pipe") << QStringLiteral("pipe");
    QTest::newRow("a folder") << QStringLiteral(".");
}

void FileLockTest::doesNotWaitWhereNoLockFileCanBeMade() {
    QFETCH(const QString, place);
    QCOMPARE(
        ::mkfifo(QFile::encodeName(_folder->filePath(QStringLiteral("pipe"))).constData(), 0600),
        0);
    QElapsedTimer clock;
    clock.start();
    QVERIFY(!FileLock(_folder->filePath(place), milliseconds(testPatience)).isLocked());
    QVERIFY(clock.elapsed() < testPatience);
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::FileLockTest)

#include "FileLockTest.moc"
