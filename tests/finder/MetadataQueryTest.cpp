#include "TestMain.h"
#include "WatchedQuery.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace pelorinnews::test {

/// Tests the query without a file index: it only walks through folders and watches them.
class MetadataQueryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void gathersOnceInAStableOrder();
    void findsNothingWhereThereIsNothing();
    void answersAtOnceForANameThatCannotBe();
    void doesNothingBeforeItIsStarted();
    void startsOnceOnly();
    void gathersAnewWhenStartedAgain();

    void seesACopyBesideAMatch();
    void seesACopyInANewFolderBesideTheMatchsFolder();
    void seesACopyThatIsFilledInAfterwards();
    void seesAMatchGo();
    void seesAMatchRenamed();
    void seesAFolderFarAboveAMatchRenamed();
    void seesAMatchsFolderReplaced();
    void seesACopyInAnApplicationFolder();
    void seesAnApplicationFolderBeingMade();
    void findsAllAgainAfterEventsWereLost();
    void tellsNothingWhenNothingThatMatchesChanges();

    void walksInTheIdleClass();
    void stopsSoonInTheMiddleOfAWalk();
    void tellsNothingAfterItWasStopped();
    void keepsItsResultsWhenStopped();
    void usesNoProcessorTimeWhileNothingHappens();
    void maySearchSeveralTimesAtOnce();

private:
    void make(const QString &path) { QVERIFY(QDir().mkpath(at(path))); }
    void remove(const QString &path) { QVERIFY(QDir(at(path)).removeRecursively()); }
    void move(const QString &from, const QString &to) { QVERIFY(QDir().rename(at(from), at(to))); }
    QString at(const QString &path) const { return _folder->filePath(path); }
    QStringList paths(const QStringList &relative) const {
        QStringList absolute;
        for (const QString &path : relative)
            absolute << at(path);
        return absolute;
    }

    std::unique_ptr<QTemporaryDir> _folder;
};

namespace {
const QString name = QStringLiteral("Pelorin.app");
}  // namespace

#define GATHER(watched)                    \
    QVERIFY((watched).query.startQuery()); \
    QTRY_COMPARE((watched).gathered, 1)

void MetadataQueryTest::initTestCase() {
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
}

void MetadataQueryTest::init() {
    _folder = std::make_unique<QTemporaryDir>(QDir::homePath() + QStringLiteral("/disk-XXXXXX"));
}

void MetadataQueryTest::cleanup() {
    _folder.reset();
    QTRY_COMPARE(threadCount("pelorin-search"), 0);
}

void MetadataQueryTest::gathersOnceInAStableOrder() {
    make(QStringLiteral("b/Pelorin.app"));
    make(QStringLiteral("a/deep/er/Pelorin.app"));
    make(QStringLiteral("c/.hidden/Pelorin.app"));
    make(QStringLiteral("c/pelorin.app"));
    WatchedQuery watched(name, {_folder->path()});
    GATHER(watched);
    QCOMPARE(watched.query.results(),
             paths({QStringLiteral("a/deep/er/Pelorin.app"), QStringLiteral("b/Pelorin.app"),
                    QStringLiteral("c/.hidden/Pelorin.app")}));
    QCOMPARE(watched.query.resultCount(), 3);
    QTest::qWait(300);
    QCOMPARE(watched.gathered, 1);
    QCOMPARE(watched.updated, 0);
}

void MetadataQueryTest::findsNothingWhereThereIsNothing() {
    WatchedQuery watched(name, {_folder->path()});
    GATHER(watched);
    QVERIFY(watched.query.results().isEmpty());
    WatchedQuery nowhere(name, {at(QStringLiteral("not/there"))});
    GATHER(nowhere);
    QVERIFY(nowhere.query.results().isEmpty());
}

void MetadataQueryTest::answersAtOnceForANameThatCannotBe() {
    make(QStringLiteral("a"));
    WatchedQuery watched(QString(), {_folder->path()});
    GATHER(watched);
    QCOMPARE(watched.query.resultCount(), 0);
}

void MetadataQueryTest::doesNothingBeforeItIsStarted() {
    make(QStringLiteral("Pelorin.app"));
    const WatchedQuery watched(name, {_folder->path()});
    QTest::qWait(200);
    QCOMPARE(watched.gathered, 0);
    QCOMPARE(watched.query.resultCount(), 0);
    QCOMPARE(threadCount("pelorin-search"), 0);
}

void MetadataQueryTest::startsOnceOnly() {
    WatchedQuery watched(name, {_folder->path()});
    QVERIFY(watched.query.startQuery());
    QVERIFY(!watched.query.startQuery());
    QTRY_COMPARE(watched.gathered, 1);
    QVERIFY(!watched.query.startQuery());
}

void MetadataQueryTest::gathersAnewWhenStartedAgain() {
    make(QStringLiteral("Pelorin.app"));
    WatchedQuery watched(name, {_folder->path()});
    GATHER(watched);
    QCOMPARE(watched.query.resultCount(), 1);
    watched.query.stopQuery();
    remove(QStringLiteral("Pelorin.app"));
    QVERIFY(watched.query.startQuery());
    QTRY_COMPARE(watched.gathered, 2);
    QCOMPARE(watched.query.resultCount(), 0);
}

void MetadataQueryTest::seesACopyBesideAMatch() {
    make(QStringLiteral("a/Pelorin.app"));
    WatchedQuery watched(QStringLiteral("Pelorin*.app"), {_folder->path()});
    GATHER(watched);
    make(QStringLiteral("a/Pelorin 2.app"));
    QTRY_COMPARE(watched.query.resultCount(), 2);
    QCOMPARE(watched.updated, 1);
    remove(QStringLiteral("a/Pelorin 2.app"));
    QTRY_COMPARE(watched.query.resultCount(), 1);
    QCOMPARE(watched.updated, 2);
}

void MetadataQueryTest::seesACopyInANewFolderBesideTheMatchsFolder() {
    make(QStringLiteral("a/one/Pelorin.app"));
    make(QStringLiteral("elsewhere/two/Pelorin.app"));
    move(QStringLiteral("elsewhere/two/Pelorin.app"), QStringLiteral("elsewhere/two/other"));
    WatchedQuery watched(name, {_folder->path()});
    GATHER(watched);
    move(QStringLiteral("elsewhere/two/other"), QStringLiteral("elsewhere/two/Pelorin.app"));
    move(QStringLiteral("elsewhere/two"), QStringLiteral("a/two"));
    QTRY_COMPARE(watched.query.results(),
                 paths({QStringLiteral("a/one/Pelorin.app"), QStringLiteral("a/two/Pelorin.app")}));
}

void MetadataQueryTest::seesACopyThatIsFilledInAfterwards() {
    make(QStringLiteral("a/one/Pelorin.app"));
    WatchedQuery watched(name, {_folder->path()});
    GATHER(watched);
    make(QStringLiteral("a/two"));
    QTest::qWait(200);
    make(QStringLiteral("a/two/three"));
    QTest::qWait(200);
    make(QStringLiteral("a/two/three/Pelorin.app"));
    QTRY_COMPARE(watched.query.resultCount(), 2);
}

void MetadataQueryTest::seesAMatchGo() {
    make(QStringLiteral("a/Pelorin.app/bin"));
    WatchedQuery watched(name, {_folder->path()});
    GATHER(watched);
    remove(QStringLiteral("a/Pelorin.app"));
    QTRY_COMPARE(watched.query.resultCount(), 0);
    make(QStringLiteral("a/Pelorin.app"));
    QTRY_COMPARE(watched.query.resultCount(), 1);
}

void MetadataQueryTest::seesAMatchRenamed() {
    make(QStringLiteral("a/Pelorin.app"));
    WatchedQuery watched(name, {_folder->path()});
    GATHER(watched);
    move(QStringLiteral("a/Pelorin.app"), QStringLiteral("a/pelorin.app"));
    QTRY_COMPARE(watched.query.resultCount(), 0);
    move(QStringLiteral("a/pelorin.app"), QStringLiteral("a/Pelorin.app"));
    QTRY_COMPARE(watched.query.resultCount(), 1);
}

void MetadataQueryTest::seesAFolderFarAboveAMatchRenamed() {
    make(QStringLiteral("a/b/c/d/Pelorin.app"));
    WatchedQuery watched(name, {_folder->path()});
    GATHER(watched);
    QVERIFY(QDir().rename(at(QStringLiteral("a")), QDir::homePath() + QStringLiteral("/away")));
    QTRY_COMPARE(watched.query.resultCount(), 0);
    QVERIFY(QDir(QDir::homePath() + QStringLiteral("/away")).removeRecursively());
}

void MetadataQueryTest::seesAMatchsFolderReplaced() {
    make(QStringLiteral("a/b/Pelorin.app"));
    WatchedQuery watched(name, {_folder->path()});
    GATHER(watched);
    remove(QStringLiteral("a/b"));
    QTRY_COMPARE(watched.query.resultCount(), 0);
    make(QStringLiteral("a/b"));
    QTest::qWait(100);
    make(QStringLiteral("a/b/Pelorin.app"));
    QTRY_COMPARE(watched.query.resultCount(), 1);
}

void MetadataQueryTest::seesACopyInAnApplicationFolder() {
    QVERIFY(QDir().mkpath(QDir::homePath() + QStringLiteral("/Applications/Olvane")));
    WatchedQuery watched(name, {QDir::homePath()});
    GATHER(watched);
    QCOMPARE(watched.query.resultCount(), 0);
    const QDir olvane(QDir::homePath() + QStringLiteral("/Applications/Olvane"));
    QVERIFY(olvane.mkdir(name));
    QTRY_COMPARE(watched.query.results(), QStringList(olvane.filePath(name)));
    QVERIFY(QDir(QDir::homePath() + QStringLiteral("/Applications")).removeRecursively());
    QTRY_COMPARE(watched.query.resultCount(), 0);
}

void MetadataQueryTest::seesAnApplicationFolderBeingMade() {
    const QDir applications(QDir::homePath() + QStringLiteral("/Applications"));
    QVERIFY(!applications.exists());
    WatchedQuery watched(name, {QDir::homePath()});
    GATHER(watched);
    QVERIFY(QDir().mkpath(applications.path()));
    QTest::qWait(200);
    QVERIFY(applications.mkpath(QStringLiteral("Olvane/Pelorin.app")));
    QTRY_COMPARE(watched.query.resultCount(), 1);
    QVERIFY(QDir(applications).removeRecursively());
}

void MetadataQueryTest::findsAllAgainAfterEventsWereLost() {
    QFile limit(QStringLiteral("/proc/sys/fs/inotify/max_queued_events"));
    QVERIFY(limit.open(QIODevice::ReadOnly));
    const int queued = limit.readAll().trimmed().toInt();
    if (queued > 50000)
        QSKIP("the event queue of this system is too long to overflow");
    make(QStringLiteral("a/one/Pelorin.app"));
    make(QStringLiteral("far/away"));
    WatchedQuery watched(name, {_folder->path()});
    GATHER(watched);
    // This folder is not watched, so only a new walk can find the copy.
    make(QStringLiteral("far/away/Pelorin.app"));
    QTest::qWait(200);
    QCOMPARE(watched.query.resultCount(), 1);
    // Cause far more events than the kernel's queue holds, while the thread that reads them shares
    // a single CPU with this one.
    const QList<pid_t> searches = threads("pelorin-search");
    QCOMPARE(searches.size(), 1);
    cpu_set_t all;
    QCOMPARE(::sched_getaffinity(0, sizeof all, &all), 0);
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<std::size_t>(::sched_getcpu()), &one);
    QCOMPARE(::sched_setaffinity(0, sizeof one, &one), 0);
    QCOMPARE(::sched_setaffinity(searches.first(), sizeof one, &one), 0);
    const sched_param ordinary{};
    QCOMPARE(::sched_setscheduler(searches.first(), SCHED_IDLE, &ordinary), 0);
    const QByteArray churned = QFile::encodeName(at(QStringLiteral("a/one/churn")));
    const QByteArray other = churned + '2';
    QCOMPARE(::mkdir(churned.constData(), 0700), 0);
    for (int i = 0; i < queued; ++i) {
        ::rename(churned.constData(), other.constData());
        ::rename(other.constData(), churned.constData());
    }
    ::sched_setaffinity(0, sizeof all, &all);
    ::sched_setaffinity(searches.first(), sizeof all, &all);
    ::sched_setscheduler(searches.first(), SCHED_OTHER, &ordinary);
    QTRY_COMPARE(watched.query.resultCount(), 2);
}

void MetadataQueryTest::tellsNothingWhenNothingThatMatchesChanges() {
    make(QStringLiteral("a/Pelorin.app"));
    WatchedQuery watched(name, {_folder->path()});
    GATHER(watched);
    make(QStringLiteral("a/other"));
    make(QStringLiteral("a/Pelorin.app/inside/Pelorin.app"));
    remove(QStringLiteral("a/other"));
    QTest::qWait(300);
    QCOMPARE(watched.updated, 0);
}

void MetadataQueryTest::walksInTheIdleClass() {
    const QByteArray top = QFile::encodeName(_folder->path());
    for (int i = 0; i < 5000; ++i)
        QCOMPARE(::mkdir((top + '/' + QByteArray::number(i)).constData(), 0700), 0);
    MetadataQuery query;
    query.setPredicate(FileNamePattern::like(name));
    query.setSearchScopes({_folder->path()});
    QVERIFY(query.startQuery());
    QElapsedTimer clock;
    clock.start();
    int processorClass = -1;
    long inputOutputClass = -1;
    while (processorClass != SCHED_IDLE && clock.elapsed() < testPatience) {
        const QList<pid_t> walks = threads("pelorin-walk");
        if (walks.isEmpty())
            continue;
        processorClass = ::sched_getscheduler(walks.first());
        inputOutputClass = ::syscall(SYS_ioprio_get, 1, walks.first()) >> 13;
    }
    QCOMPARE(processorClass, SCHED_IDLE);
    // The thread sets its I/O class right after its CPU class.
    while (inputOutputClass != 3 && clock.elapsed() < testPatience) {
        const QList<pid_t> walks = threads("pelorin-walk");
        QVERIFY(!walks.isEmpty());
        inputOutputClass = ::syscall(SYS_ioprio_get, 1, walks.first()) >> 13;
    }
    QCOMPARE(inputOutputClass, 3);
}

void MetadataQueryTest::stopsSoonInTheMiddleOfAWalk() {
    const QByteArray top = QFile::encodeName(_folder->path());
    for (int i = 0; i < 20000; ++i)
        QCOMPARE(::mkdir((top + '/' + QByteArray::number(i)).constData(), 0700), 0);
    auto watched = std::make_unique<WatchedQuery>(name, QStringList(_folder->path()));
    QVERIFY(watched->query.startQuery());
    QElapsedTimer clock;
    clock.start();
    while (threadCount("pelorin-walk") == 0 && clock.elapsed() < testPatience) {
    }
    QCOMPARE(threadCount("pelorin-walk"), 1);
    QCOMPARE(watched->gathered, 0);
    clock.start();
    watched.reset();
    const qint64 toReturn = clock.elapsed();
    while (threadCount("pelorin-walk") + threadCount("pelorin-search") > 0 &&
           clock.elapsed() < testPatience)
        QThread::msleep(1);
    const qint64 toEnd = clock.elapsed();
    qInfo("returned after %lld ms, ended after %lld ms", toReturn, toEnd);
    // Only the destructor must return soon: the walk's thread is in the idle scheduling class and
    // may wait long for a CPU before it ends.
    QVERIFY(toReturn < 1000);
    QCOMPARE(threadCount("pelorin-walk") + threadCount("pelorin-search"), 0);
}

void MetadataQueryTest::tellsNothingAfterItWasStopped() {
    make(QStringLiteral("a/Pelorin.app"));
    WatchedQuery stoppedAtOnce(name, {_folder->path()});
    QVERIFY(stoppedAtOnce.query.startQuery());
    // Sleep until the query's answer has been posted to the main thread, which does not process it
    // yet.
    QTest::qSleep(300);
    stoppedAtOnce.query.stopQuery();
    WatchedQuery watched(name, {_folder->path()});
    GATHER(watched);
    watched.query.stopQuery();
    watched.query.stopQuery();
    make(QStringLiteral("b/Pelorin.app"));
    remove(QStringLiteral("a/Pelorin.app"));
    QTest::qWait(300);
    QCOMPARE(stoppedAtOnce.gathered, 0);
    QCOMPARE(stoppedAtOnce.query.resultCount(), 0);
    QCOMPARE(watched.updated, 0);
}

void MetadataQueryTest::keepsItsResultsWhenStopped() {
    make(QStringLiteral("a/Pelorin.app"));
    WatchedQuery watched(name, {_folder->path()});
    GATHER(watched);
    watched.query.stopQuery();
    QCOMPARE(watched.query.resultCount(), 1);
}

void MetadataQueryTest::usesNoProcessorTimeWhileNothingHappens() {
    make(QStringLiteral("a/Pelorin.app"));
    WatchedQuery watched(name, {_folder->path()});
    GATHER(watched);
    const auto wakeUps = [] {
        qint64 count = 0;
        const QStringList threads = QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs);
        for (const QString &thread : threads) {
            QFile comm(QStringLiteral("/proc/self/task/%1/comm").arg(thread));
            QFile status(QStringLiteral("/proc/self/task/%1/status").arg(thread));
            if (!comm.open(QIODevice::ReadOnly) || !comm.readAll().startsWith("pelorin-") ||
                !status.open(QIODevice::ReadOnly))
                continue;
            const QByteArray text = status.readAll();
            const QByteArray field("\nvoluntary_ctxt_switches:");
            const qsizetype at = text.indexOf(field) + field.size();
            count += text.mid(at, text.indexOf('\n', at) - at).trimmed().toLongLong();
        }
        return count;
    };
    QTest::qWait(200);
    const qint64 before = wakeUps();
    QVERIFY(before > 0);
    QTest::qWait(1500);
    QVERIFY(wakeUps() - before <= 1);
}

void MetadataQueryTest::maySearchSeveralTimesAtOnce() {
    make(QStringLiteral("a/Pelorin.app"));
    make(QStringLiteral("a/Other.app"));
    WatchedQuery first(name, {_folder->path()});
    WatchedQuery second(QStringLiteral("*.app"), {_folder->path()});
    QVERIFY(first.query.startQuery());
    QVERIFY(second.query.startQuery());
    QTRY_VERIFY(first.gathered == 1 && second.gathered == 1);
    QCOMPARE(first.query.resultCount(), 1);
    QCOMPARE(second.query.resultCount(), 2);
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::MetadataQueryTest)
#include "MetadataQueryTest.moc"
