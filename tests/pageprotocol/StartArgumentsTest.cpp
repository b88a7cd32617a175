// The command-line arguments of the page process: valid ones are read as they were written, all
// others are rejected.

#include "TestMain.h"
#include "pageprotocol/StartArguments.h"

using namespace pelorinnews;

class StartArgumentsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsWhatWasWritten_data();
    void readsWhatWasWritten();
    void refusesEverythingElse_data();
    void refusesEverythingElse();
};

void StartArgumentsTest::readsWhatWasWritten_data() {
    QTest::addColumn<double>("scale");
    QTest::addColumn<QSize>("screen");
    QTest::addColumn<bool>("isDark");
    QTest::addColumn<QUrl>("proxy");
    QTest::newRow("ordinary") << 1.0 << QSize(1920, 1080) << false << QUrl();
    QTest::newRow("dark") << 2.0 << QSize(3840, 2160) << true << QUrl();
    QTest::newRow("a third") << 4.0 / 3 << QSize(1, 1) << false << QUrl();
    QTest::newRow("smallest and largest") << minScale << QSize(8192, 8192) << false << QUrl();
    QTest::newRow("HTTP proxy") << 1.0 << QSize(1, 1) << false
                                << QUrl(QStringLiteral("http://proxy.example:3128"));
    QTest::newRow("SOCKS proxy") << 1.0 << QSize(1, 1) << false
                                 << QUrl(QStringLiteral("socks5://[::1]:1080"));
    QTest::newRow("largest scale") << maxScale << QSize(16384, 1) << false << QUrl();
}

void StartArgumentsTest::readsWhatWasWritten() {
    QFETCH(const double, scale);
    QFETCH(const QSize, screen);
    QFETCH(const bool, isDark);
    QFETCH(const QUrl, proxy);
    const StartArguments written{4711, scale, screen, isDark, proxy};
    const auto read = StartArguments::parse(written.toArguments());
    QVERIFY(read);
    QVERIFY(*read == written);
}

void StartArgumentsTest::refusesEverythingElse_data() {
    QTest::addColumn<QByteArray>("arguments");
    for (const char *each : {"",
                             "1",
                             "1 1 100 100 0",
                             "1 1 100 100 0  0",
                             "0 1 100 100 0 ",
                             "-1 1 100 100 0 ",
                             "a 1 100 100 0 ",
                             "1 nan 100 100 0 ",
                             "1 inf 100 100 0 ",
                             "1 0 100 100 0 ",
                             "1 9 100 100 0 ",
                             "1 1 0 100 0 ",
                             "1 1 100 -5 0 ",
                             "1 1 16385 1 0 ",
                             "1 1 16384 16384 0 ",
                             "1 1 100 100 2 ",
                             "1 1 100 100 x ",
                             "1 1 99999999999 100 0 ",
                             "1 1x 100 100 0 ",
                             "1 1 100 100 0 proxy:80",
                             "1 1 100 100 0 http://proxy",
                             "1 1 100 100 0 http://:80",
                             "1 1 100 100 0 http://proxy:0",
                             "1 1 100 100 0 http://user@proxy:80",
                             "1 1 100 100 0 http://proxy:80/path",
                             "1 1 100 100 0 file://proxy:80",
                             "1 1 100 100 0 http://proxy:99999"})
        QTest::newRow(each) << QByteArray(each);
}

void StartArgumentsTest::refusesEverythingElse() {
    QFETCH(const QByteArray, arguments);
    QVERIFY(!StartArguments::parse(arguments.split(' ')));
}

PELORIN_CORE_TEST_MAIN(StartArgumentsTest)
#include "StartArgumentsTest.moc"
