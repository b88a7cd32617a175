#include "SearchThreads.h"
#include "TestMain.h"
#include "TrackerSession.h"
#include "finder/MetadataQueryCenter.h"
#include "finder/OlvPelorinFinder.h"

#include <QDir>
#include <QElapsedTimer>

#include <thread>

namespace pelorinnews::test {

#ifdef PELORIN_TEST_WITH_INDEX
constexpr bool withIndex = true;
#else
constexpr bool withIndex = false;
#endif

namespace {
const QString name = QStringLiteral("Pelorin.app");
}  // namespace

/// This test is built twice: with a real file index, and without one, where the finder only walks
/// through the folders. Both builds must behave alike.
class OlvPelorinFinderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void isPendingUntilTheSearchHasAnswered();
    void countsNone();
    void countsOne();
    void countsTwo();
    void countsManyAsSeveral();
    void followsASecondCopyThatComesAndGoes();
    void followsTheOnlyCopyThatGoes();
    void leavesOutACopyUnderAnotherName();
    void leavesOutACopyUnderANameOfOtherCase();
    void takesTheStarsOfANameAsWildcards();
    void hasNoInstancesWhereNoneIsFound();
    void hasTheInstancesInTheSearchsOrder();

    void startsItsSearchAtTheNextTurnOfTheMainLoop();
    void startsItsSearchOnTheMainThreadWhereverItWasMade();
    void isKeptUntilItsSearchHasStarted();
    void recountsOnTheNewsOfAnySearch();
    void endsItsSearchWhenItGoes();
    void mayGoOnAnotherThread();

private:
    static QString at(const QString &path) { return folder() + QLatin1Char('/') + path; }
    static QString folder() { return QDir::homePath() + QStringLiteral("/Documents"); }
    static void make(const QString &path) { QVERIFY(QDir().mkpath(at(path))); }
    static void remove(const QString &path) { QVERIFY(QDir(at(path)).removeRecursively()); }
    static std::shared_ptr<OlvPelorinFinder> find(const QString &bundle = name) {
        return OlvPelorinFinder::init(FileNamePattern::like(bundle), {folder()});
    }
    void index() {
        if (withIndex)
            QVERIFY(_miner->start());
    }

    const HurriedWalks _hurriedWalks;
    std::unique_ptr<TrackerMiner> _miner = std::make_unique<TrackerMiner>();
};

#define TRY_RESULT(finder, expected) QTRY_COMPARE((finder)->result(), expected)

void OlvPelorinFinderTest::initTestCase() {
    if (withIndex && !isInTrackerSession())
        QSKIP("this computer has no folder that the file index accepts as home folder");
    if (!withIndex)
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    QVERIFY(QDir().mkpath(folder()));
}

void OlvPelorinFinderTest::cleanup() {
    _miner->stop();
    QDir(folder()).removeRecursively();
    QVERIFY(QDir().mkpath(folder()));
}

void OlvPelorinFinderTest::isPendingUntilTheSearchHasAnswered() {
    make(QStringLiteral("a/Pelorin.app"));
    index();
    const auto finder = find();
    int gathered = 0;
    const auto *center = MetadataQueryCenter::defaultCenter();
    const auto connection = QObject::connect(center, &MetadataQueryCenter::didFinishGathering,
                                             center, [&] { ++gathered; });
    QCOMPARE(finder->result(), OlvFinderResultPending);
    QCOMPARE(static_cast<int>(finder->result()), 1);
    QElapsedTimer clock;
    clock.start();
    while (gathered == 0 && clock.elapsed() < testPatience) {
        QCOMPARE(finder->result(), OlvFinderResultPending);
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
    }
    QObject::disconnect(connection);
    QCOMPARE(finder->result(), OlvFinderResultOne);
}

void OlvPelorinFinderTest::countsNone() {
    make(QStringLiteral("a"));
    index();
    const auto finder = find();
    TRY_RESULT(finder, OlvFinderResultNone);
    QCOMPARE(static_cast<int>(finder->result()), 2);
}

void OlvPelorinFinderTest::countsOne() {
    make(QStringLiteral("a/Pelorin.app"));
    index();
    const auto finder = find();
    TRY_RESULT(finder, OlvFinderResultOne);
    QCOMPARE(static_cast<int>(finder->result()), 3);
}

void OlvPelorinFinderTest::countsTwo() {
    make(QStringLiteral("a/Pelorin.app"));
    make(QStringLiteral("b/Pelorin.app"));
    index();
    const auto finder = find();
    TRY_RESULT(finder, OlvFinderResultMany);
    QCOMPARE(static_cast<int>(finder->result()), 4);
}

void OlvPelorinFinderTest::countsManyAsSeveral() {
    for (int i = 0; i < 12; ++i)
        make(QStringLiteral("%1/Pelorin.app").arg(i));
    index();
    const auto finder = find();
    TRY_RESULT(finder, OlvFinderResultMany);
    QCOMPARE(finder->instances()->size(), 12);
}

void OlvPelorinFinderTest::followsASecondCopyThatComesAndGoes() {
    make(QStringLiteral("a/Pelorin.app"));
    make(QStringLiteral("backup"));
    index();
    const auto finder = find();
    TRY_RESULT(finder, OlvFinderResultOne);
    make(QStringLiteral("backup/today/Pelorin.app"));
    if (withIndex)
        TRY_RESULT(finder, OlvFinderResultMany);
    // Without an index "backup" is not watched, because it never held a copy. The folder in which
    // "second" is created is watched.
    make(QStringLiteral("second/Pelorin.app"));
    TRY_RESULT(finder, OlvFinderResultMany);
    remove(QStringLiteral("backup/today/Pelorin.app"));
    remove(QStringLiteral("second/Pelorin.app"));
    TRY_RESULT(finder, OlvFinderResultOne);
}

void OlvPelorinFinderTest::followsTheOnlyCopyThatGoes() {
    make(QStringLiteral("a/Pelorin.app"));
    index();
    const auto finder = find();
    TRY_RESULT(finder, OlvFinderResultOne);
    remove(QStringLiteral("a/Pelorin.app"));
    TRY_RESULT(finder, OlvFinderResultNone);
}

void OlvPelorinFinderTest::leavesOutACopyUnderAnotherName() {
    make(QStringLiteral("a/Pelorin.app"));
    make(QStringLiteral("a/Pelorin (old).app"));
    make(QStringLiteral("b/Pelorin.app.bak"));
    index();
    const auto finder = find();
    TRY_RESULT(finder, OlvFinderResultOne);
    QVERIFY(QDir().rename(at(QStringLiteral("a/Pelorin.app")), at(QStringLiteral("a/News.app"))));
    TRY_RESULT(finder, OlvFinderResultNone);
}

void OlvPelorinFinderTest::leavesOutACopyUnderANameOfOtherCase() {
    make(QStringLiteral("a/pelorin.app"));
    make(QStringLiteral("b/PELORIN.APP"));
    index();
    const auto finder = find();
    TRY_RESULT(finder, OlvFinderResultNone);
}

void OlvPelorinFinderTest::takesTheStarsOfANameAsWildcards() {
    make(QStringLiteral("a/Pelorin 1.app"));
    make(QStringLiteral("b/Pelorin 12.app"));
    make(QStringLiteral("c/Pelorin [x].app"));
    index();
    const auto all = find(QStringLiteral("Pelorin *.app"));
    const auto oneDigit = find(QStringLiteral("Pelorin ?.app"));
    const auto brackets = find(QStringLiteral("Pelorin [1].app"));
    QTRY_VERIFY(all->instances() && all->instances()->size() == 3);
    QTRY_COMPARE(oneDigit->instances().value_or(QStringList()),
                 QStringList(at(QStringLiteral("a/Pelorin 1.app"))));
    TRY_RESULT(brackets, OlvFinderResultNone);
    QCOMPARE(all->result(), OlvFinderResultMany);
    QCOMPARE(oneDigit->result(), OlvFinderResultOne);
}

void OlvPelorinFinderTest::hasNoInstancesWhereNoneIsFound() {
    index();
    const auto finder = find();
    QVERIFY(!finder->instances());
    TRY_RESULT(finder, OlvFinderResultNone);
    QVERIFY(!finder->instances());
}

void OlvPelorinFinderTest::hasTheInstancesInTheSearchsOrder() {
    make(QStringLiteral("b/Pelorin.app"));
    make(QStringLiteral("a/Pelorin.app"));
    index();
    const auto finder = find();
    TRY_RESULT(finder, OlvFinderResultMany);
    QCOMPARE(*finder->instances(), QStringList({at(QStringLiteral("a/Pelorin.app")),
                                                at(QStringLiteral("b/Pelorin.app"))}));
}

void OlvPelorinFinderTest::startsItsSearchAtTheNextTurnOfTheMainLoop() {
    make(QStringLiteral("a/Pelorin.app"));
    index();
    const auto finder = find();
    // As long as the event loop does not run, nothing is searched.
    QTest::qSleep(300);
    QCOMPARE(threadCount("pelorin-search"), 0);
    QCOMPARE(finder->result(), OlvFinderResultPending);
    TRY_RESULT(finder, OlvFinderResultOne);
}

void OlvPelorinFinderTest::startsItsSearchOnTheMainThreadWhereverItWasMade() {
    make(QStringLiteral("a/Pelorin.app"));
    index();
    std::shared_ptr<OlvPelorinFinder> finder;
    std::thread([&finder] { finder = find(); }).join();
    QCOMPARE(finder->result(), OlvFinderResultPending);
    TRY_RESULT(finder, OlvFinderResultOne);
}

void OlvPelorinFinderTest::isKeptUntilItsSearchHasStarted() {
    auto finder = find();
    const std::weak_ptr<OlvPelorinFinder> weak = finder;
    finder.reset();
    QVERIFY(!weak.expired());
    QCoreApplication::processEvents();
    QTRY_VERIFY(weak.expired());
}

void OlvPelorinFinderTest::recountsOnTheNewsOfAnySearch() {
    // The finder's own search has not started, so it counts 0 copies.
    const auto finder = find();
    QCOMPARE(finder->result(), OlvFinderResultPending);
    Q_EMIT MetadataQueryCenter::defaultCenter()->didFinishGathering(nullptr);
    QCOMPARE(finder->result(), OlvFinderResultNone);
    const auto other = find();
    QCOMPARE(other->result(), OlvFinderResultPending);
    Q_EMIT MetadataQueryCenter::defaultCenter()->didUpdate(nullptr);
    QCOMPARE(other->result(), OlvFinderResultNone);
}

void OlvPelorinFinderTest::endsItsSearchWhenItGoes() {
    make(QStringLiteral("a/Pelorin.app"));
    index();
    auto finder = find();
    TRY_RESULT(finder, OlvFinderResultOne);
    QCOMPARE(threadCount("pelorin-search"), 1);
    finder.reset();
    QTRY_COMPARE(threadCount("pelorin-search"), 0);
}

void OlvPelorinFinderTest::mayGoOnAnotherThread() {
    make(QStringLiteral("a/Pelorin.app"));
    auto finder = find();
    TRY_RESULT(finder, OlvFinderResultOne);
    std::thread([finder = std::move(finder)]() mutable { finder.reset(); }).join();
    Q_EMIT MetadataQueryCenter::defaultCenter()->didUpdate(nullptr);
    QTRY_COMPARE(threadCount("pelorin-search"), 0);
}

}  // namespace pelorinnews::test

int main(int argc, char *argv[]) {
    const auto run = [&] {
        const QCoreApplication application(argc, argv);
        pelorinnews::test::OlvPelorinFinderTest test;
        return QTest::qExec(&test, argc, argv);
    };
    if (pelorinnews::test::withIndex)
        return pelorinnews::test::runInTrackerSession(argc, argv, run);
    const pelorinnews::test::TestHome home;
    return run();
}
#include "OlvPelorinFinderTest.moc"
