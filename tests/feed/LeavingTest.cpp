#include "FeedServer.h"
#include "TestMain.h"

#include <QElapsedTimer>
#include <QProcess>

using namespace pelorinnews;
using namespace std::chrono_literals;

/// Tests that a process that exits during a refresh ends cleanly and soon.
class LeavingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aProcessEndsCleanlyInTheMiddleOfARefresh_data() {
        QTest::addColumn<QString>("options");
        QTest::addColumn<QString>("how");
        QTest::newRow("no answer yet") << "delay=60000"
                                       << "waiting";
        QTest::newRow("half an answer") << "size=100k,stall=50k"
                                        << "waiting";
        QTest::newRow("an answer without end") << "endless"
                                               << "waiting";
        QTest::newRow("a big answer being parsed") << "size=30m"
                                                   << "working";
        QTest::newRow("a quick answer") << "size=2k"
                                        << "waiting";
    }
    void aProcessEndsCleanlyInTheMiddleOfARefresh() {
        QFETCH(QString, options);
        QFETCH(QString, how);
        FeedServer server;
        QVERIFY(server.start());
        const auto reply = FeedReply::parse(options);
        QVERIFY(reply);
        server.setReply(*reply);
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        QElapsedTimer clock;
        clock.start();
        process.start(QStringLiteral(PELORIN_LEAVING), {server.feedAddress(), how});
        QVERIFY(process.waitForFinished(testPatience));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 0);
        QVERIFY2(clock.elapsed() < 12000, qPrintable(QString::number(clock.elapsed())));
        QVERIFY(process.readAllStandardOutput().isEmpty());
    }
};

PELORIN_CORE_TEST_MAIN(LeavingTest)
#include "LeavingTest.moc"
