#include "TrackerSession.h"
#include "WatchedQuery.h"
#include "finder/FileIndexQuery.h"
#include "finder/FileWalk.h"

#include <QCoreApplication>
#include <QDir>
#include <QTest>

#include <algorithm>
#include <cstring>
#include <utility>

namespace pelorinnews::test {

/// Tests the query with a real file index, on a session bus of its own.
class FileIndexQueryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase() { _miner->stop(); }

    void readsRowsThatAreWhole();
    void answersWithNothingWhereNoIndexRuns();
    void findsWhatTheIndexKnows_data();
    void findsWhatTheIndexKnows();
    void followsTheIndex();
    void agreesWithTheWalk();
    void seesFarAwayCopiesByTheIndexOnly();
    void takesAnIndexThatStartsLate();
    void findsWhatTheIndexLeavesOut();

private:
    static QString at(const QString &path) {
        return QDir::homePath() + QStringLiteral("/Documents/") + path;
    }
    static void make(const QString &path) { QVERIFY(QDir().mkpath(at(path))); }
    void startMiner() {
        if (!std::exchange(_mines, true))
            QVERIFY(_miner->start());
    }

    std::unique_ptr<TrackerMiner> _miner = std::make_unique<TrackerMiner>();
    bool _mines = false;
    // The test function for which the present files and index were made.
    QByteArray _function;
};

namespace {

QByteArray row(const QByteArray &text) {
    const std::array<qint32, 3> header = {1, 1, static_cast<qint32>(text.size())};
    QByteArray bytes(reinterpret_cast<const char *>(header.data()), sizeof header);
    return bytes + text + '\0';
}

/// An index query that counts its answers and keeps the last one, sorted.
struct Asked {
    explicit Asked(const QString &pattern)
        : query(FileNamePattern::like(pattern), [this](const std::vector<QByteArray> &paths) {
              ++answers;
              last = paths;
              std::sort(last.begin(), last.end());
          }) {
        query.start();
    }

    int answers = 0;
    std::vector<QByteArray> last;
    FileIndexQuery query;
};

}  // namespace

void FileIndexQueryTest::initTestCase() {
    if (!isInTrackerSession())
        QSKIP("this computer has no folder that the file index accepts as home folder");
}

// Runs before each data row, but resets only when the test function changes: the index takes a
// second to start, so all rows of a function share it, and their files.
void FileIndexQueryTest::init() {
    const QByteArray function = QTest::currentTestFunction();
    if (std::exchange(_function, function) == function)
        return;
    _miner->stop();
    _mines = false;
    QDir(at(QString())).removeRecursively();
    QDir().mkpath(at(QString()));
}

void FileIndexQueryTest::readsRowsThatAreWhole() {
    const QByteArray one = row("file:///a%20b/%FF");
    const QByteArray two = row("file:///c");
    const std::vector<QByteArray> both = {"/a b/\xFF", "/c"};
    QCOMPARE(FileIndexQuery::parseRows(one + two), both);
    QCOMPARE(FileIndexQuery::parseRows({}), std::vector<QByteArray>());
    for (qsizetype cut = 1; cut < two.size(); ++cut)
        QCOMPARE(FileIndexQuery::parseRows(one + two.chopped(cut)).size(), std::size_t(1));
    QCOMPARE(FileIndexQuery::parseRows(row("http://host/x") + two), std::vector<QByteArray>{"/c"});
    QByteArray huge = two;
    const qint32 length = 0x7FFFFFFF;
    std::memcpy(huge.data() + 8, &length, sizeof length);
    QVERIFY(FileIndexQuery::parseRows(huge).empty());
}

void FileIndexQueryTest::answersWithNothingWhereNoIndexRuns() {
    make(QStringLiteral("Pelorin.app"));
    const Asked asked(QStringLiteral("Pelorin.app"));
    QTRY_COMPARE(asked.answers, 1);
    QVERIFY(asked.last.empty());
}

void FileIndexQueryTest::findsWhatTheIndexKnows_data() {
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("none") << QStringLiteral("None.app") << QStringList();
    QTest::newRow("one") << QStringLiteral("One.app") << QStringList(QStringLiteral("a/One.app"));
    QTest::newRow("two") << QStringLiteral("Two.app")
                         << QStringList({QStringLiteral("a/Two.app"), QStringLiteral("b/Two.app")});
    QTest::newRow("case") << QStringLiteral("one.app") << QStringList();
    QTest::newRow("star") << QStringLiteral("*o*.app")
                          << QStringList(
                                 {QStringLiteral("a/Two.app"), QStringLiteral("b/Two.app")});
    QTest::newRow("question mark")
        << QStringLiteral("O?e.app") << QStringList(QStringLiteral("a/One.app"));
    QTest::newRow("brackets") << QStringLiteral("[O]ne.app") << QStringList();
    QTest::newRow("odd") << QString::fromUtf8("w\xC3\xA9 \"#%[x].app")
                         << QStringList(QString::fromUtf8("b/w\xC3\xA9 \"#%[x].app"));
    QTest::newRow("odd, with a star") << QString::fromUtf8("w\xC3\xA9 \"#%[x]*")
                                      << QStringList(QString::fromUtf8("b/w\xC3\xA9 \"#%[x].app"));
}

void FileIndexQueryTest::findsWhatTheIndexKnows() {
    QFETCH(QString, pattern);
    QFETCH(QStringList, expected);
    make(QStringLiteral("a/One.app"));
    make(QStringLiteral("a/Two.app"));
    make(QStringLiteral("b/Two.app"));
    make(QString::fromUtf8("b/w\xC3\xA9 \"#%[x].app"));
    startMiner();
    const Asked asked(pattern);
    QTRY_COMPARE(asked.answers, 1);
    std::vector<QByteArray> paths;
    for (const QString &path : expected)
        paths.push_back(QFile::encodeName(at(path)));
    QCOMPARE(asked.last, paths);
}

void FileIndexQueryTest::followsTheIndex() {
    make(QStringLiteral("a"));
    startMiner();
    const Asked asked(QStringLiteral("Pelorin.app"));
    QTRY_COMPARE(asked.answers, 1);
    QVERIFY(asked.last.empty());
    make(QStringLiteral("a/Pelorin.app"));
    QTRY_COMPARE(asked.last.size(), std::size_t(1));
    QVERIFY(QDir().rename(at(QStringLiteral("a/Pelorin.app")), at(QStringLiteral("a/other"))));
    QTRY_COMPARE(asked.last.size(), std::size_t(0));
}

void FileIndexQueryTest::agreesWithTheWalk() {
    for (const char *path : {"a/Pelorin.app", "b/c/d/Pelorin.app", "b/pelorin.app", "e/Pelorin.ap",
                             "f/Pelorin 2.app", "Pelorin.app"})
        make(QLatin1String(path));
    startMiner();
    for (const char *text : {"Pelorin.app", "Pelorin*", "?elorin.app", "*", "none", "P*.app"}) {
        const QString pattern = QLatin1String(text);
        const Asked asked(pattern);
        QTRY_COMPARE(asked.answers, 1);
        std::vector<QByteArray> indexed;
        const QByteArray top = QFile::encodeName(at(QString()));
        std::copy_if(asked.last.begin(), asked.last.end(), std::back_inserter(indexed),
                     [&top](const QByteArray &path) { return path.startsWith(top); });
        FileWalk walk(FileNamePattern::like(pattern));
        const std::atomic<bool> stop = false;
        walk.run(top, stop);
        std::vector<QByteArray> walked = walk.matches();
        std::sort(walked.begin(), walked.end());
        // With "*" the index also returns the entries inside a matching folder. The walk does not
        // enter a match, and the query counts those entries as part of the match.
        if (pattern == QLatin1String("*"))
            std::erase_if(indexed,
                          [&top](const auto &path) { return path.indexOf('/', top.size()) >= 0; });
        QCOMPARE(indexed, walked);
    }
}

void FileIndexQueryTest::seesFarAwayCopiesByTheIndexOnly() {
    make(QStringLiteral("a/b/c/d"));
    WatchedQuery alone(QStringLiteral("Pelorin.app"), {QDir::homePath()});
    QVERIFY(alone.query.startQuery());
    QTRY_COMPARE(alone.gathered, 1);
    make(QStringLiteral("a/b/c/d/Pelorin.app"));
    QTest::qWait(500);
    QCOMPARE(alone.updated, 0);
    alone.query.stopQuery();
    QDir(at(QStringLiteral("a/b/c/d/Pelorin.app"))).removeRecursively();

    startMiner();
    WatchedQuery indexed(QStringLiteral("Pelorin.app"), {QDir::homePath()});
    QVERIFY(indexed.query.startQuery());
    QTRY_COMPARE(indexed.gathered, 1);
    QCOMPARE(indexed.query.resultCount(), 0);
    make(QStringLiteral("a/b/c/d/Pelorin.app"));
    QTRY_COMPARE(indexed.query.resultCount(), 1);
    QVERIFY(QDir(at(QStringLiteral("a/b/c/d/Pelorin.app"))).removeRecursively());
    QTRY_COMPARE(indexed.query.resultCount(), 0);
}

void FileIndexQueryTest::takesAnIndexThatStartsLate() {
    make(QStringLiteral("a/b/c/d"));
    WatchedQuery watched(QStringLiteral("Pelorin.app"), {QDir::homePath()});
    QVERIFY(watched.query.startQuery());
    QTRY_COMPARE(watched.gathered, 1);
    make(QStringLiteral("a/b/c/d/Pelorin.app"));
    startMiner();
    QTRY_COMPARE(watched.query.resultCount(), 1);
    // When the index goes away, earlier matches stay, and the query watches them by itself.
    _miner->stop();
    QTest::qWait(300);
    QCOMPARE(watched.query.resultCount(), 1);
    QVERIFY(QDir(at(QStringLiteral("a/b/c/d/Pelorin.app"))).removeRecursively());
    QTRY_COMPARE(watched.query.resultCount(), 0);
}

void FileIndexQueryTest::findsWhatTheIndexLeavesOut() {
    make(QStringLiteral("a/Pelorin.app"));
    make(QStringLiteral(".hidden/Pelorin.app"));
    make(QStringLiteral("sources/.git"));
    make(QStringLiteral("sources/Pelorin.app"));
    startMiner();
    const Asked asked(QStringLiteral("Pelorin.app"));
    QTRY_COMPARE(asked.answers, 1);
    QCOMPARE(asked.last,
             std::vector<QByteArray>{QFile::encodeName(at(QStringLiteral("a/Pelorin.app")))});
    WatchedQuery watched(QStringLiteral("Pelorin.app"), {QDir::homePath()});
    QVERIFY(watched.query.startQuery());
    QTRY_COMPARE(watched.gathered, 1);
    QCOMPARE(watched.query.results(), QStringList({at(QStringLiteral(".hidden/Pelorin.app")),
                                                   at(QStringLiteral("a/Pelorin.app")),
                                                   at(QStringLiteral("sources/Pelorin.app"))}));
}

}  // namespace pelorinnews::test

int main(int argc, char *argv[]) {
    return pelorinnews::test::runInTrackerSession(argc, argv, [&] {
        const QCoreApplication application(argc, argv);
        pelorinnews::test::FileIndexQueryTest test;
        return QTest::qExec(&test, argc, argv);
    });
}
#include "FileIndexQueryTest.moc"
