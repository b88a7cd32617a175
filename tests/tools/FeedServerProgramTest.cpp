#include "RawExchange.h"
#include "TestMain.h"

#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSslCertificate>

#include <csignal>

using namespace pelorinnews::test;

/// Tests the feed server as a program that scripts start.
class FeedServerProgramTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void helpTellsTheOptions();
    void tellsItsVersion();
    void badUsageIsTold_data();
    void badUsageIsTold();
    void theDemonstrationFeedIsServedUntilASignal_data();
    void theDemonstrationFeedIsServedUntilASignal();
    void theAuthorityIsMadeOnceAndSignsTheServer();

private:
    /// Starts the program and reads the address that it prints; null on failure.
    static QByteArray started(QProcess &program, const QStringList &arguments) {
        program.start(QStringLiteral(PELORIN_APP_DIR "/bin/pelorin-feedserver"), arguments);
        if (!program.waitForReadyRead(testPatience))
            return {};
        return program.readLine().trimmed();
    }
    static quint16 portOf(const QByteArray &address) {
        return static_cast<quint16>(QUrl(QString::fromLatin1(address)).port(0));
    }
    static bool ends(QProcess &program, int signalNumber) {
        ::kill(static_cast<pid_t>(program.processId()), signalNumber);
        return program.waitForFinished(testPatience) &&
               program.exitStatus() == QProcess::NormalExit && program.exitCode() == 0;
    }
};

void FeedServerProgramTest::helpTellsTheOptions() {
    QProcess program;
    program.start(QStringLiteral(PELORIN_APP_DIR "/bin/pelorin-feedserver"),
                  {QStringLiteral("--help")});
    QVERIFY(program.waitForFinished(testPatience));
    QCOMPARE(program.exitCode(), 0);
    const QByteArray help = program.readAllStandardOutput();
    for (const char *option :
         {"--feeds", "--port", "--tls", "--address-file", "--reply", "status=N", "keep-alive"})
        QVERIFY2(help.contains(option), option);
}

void FeedServerProgramTest::tellsItsVersion() {
    QProcess program;
    program.start(QStringLiteral(PELORIN_APP_DIR "/bin/pelorin-feedserver"),
                  {QStringLiteral("--version")});
    QVERIFY(program.waitForFinished(testPatience));
    QCOMPARE(program.exitCode(), 0);
    static const QRegularExpression form(
        QStringLiteral("^pelorin-feedserver \\d+\\.\\d+\\.\\d+\n$"));
    const QString output = QString::fromUtf8(program.readAllStandardOutput());
    QVERIFY2(form.match(output).hasMatch(), qPrintable(output));
}

void FeedServerProgramTest::badUsageIsTold_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::newRow("an unknown option") << QStringList{QStringLiteral("--nope")} << 2;
    QTest::newRow("a stray argument") << QStringList{QStringLiteral("here")} << 2;
    QTest::newRow("no port") << QStringList{QStringLiteral("--port"), QStringLiteral("many")} << 2;
    QTest::newRow("an unknown reply")
        << QStringList{QStringLiteral("--reply"), QStringLiteral("flip")} << 2;
    QTest::newRow("no folder") << QStringList{QStringLiteral("--feeds"), QStringLiteral("/none")}
                               << 1;
    QTest::newRow("no place for certificates")
        << QStringList{QStringLiteral("--tls"), QStringLiteral("/proc/none")} << 1;
}

void FeedServerProgramTest::badUsageIsTold() {
    QFETCH(const QStringList, arguments);
    QFETCH(const int, exitCode);
    QProcess program;
    program.start(QStringLiteral(PELORIN_APP_DIR "/bin/pelorin-feedserver"), arguments);
    QVERIFY(program.waitForFinished(testPatience));
    QCOMPARE(program.exitCode(), exitCode);
    QVERIFY(!program.readAllStandardError().isEmpty());
    QVERIFY(program.readAllStandardOutput().isEmpty());
}

void FeedServerProgramTest::theDemonstrationFeedIsServedUntilASignal_data() {
    QTest::addColumn<int>("signalNumber");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
}

void FeedServerProgramTest::theDemonstrationFeedIsServedUntilASignal() {
    QFETCH(const int, signalNumber);
    QTemporaryDir folder;
    const QString addressFile = folder.filePath(QStringLiteral("address"));
    QProcess program;
    const QByteArray address =
        started(program, {QStringLiteral("--address-file"), addressFile, QStringLiteral("--reply"),
                          QStringLiteral("drip=5000:1")});
    QVERIFY(address.startsWith("http://127.0.0.1:"));
    QVERIFY(address.endsWith("/RSS_Feed/PelorinNews.php"));
    QFile file(addressFile);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), address + '\n');
    for (const QByteArray language : {"en", "de"}) {
        RawExchange exchange(portOf(address), false);
        exchange.sendGet("/RSS_Feed/PelorinNews.php?&locale=" + language + "&type=standard");
        exchange.gather();
        QVERIFY(exchange.body().contains("<language>" + language + "</language>"));
        QCOMPARE(exchange.body().count("<item>"), 8);
        QVERIFY(!exchange.body().contains("{{"));
    }
    QVERIFY(ends(program, signalNumber));
}

void FeedServerProgramTest::theAuthorityIsMadeOnceAndSignsTheServer() {
#if defined(__SANITIZE_THREAD__)
    QSKIP(
        "The race detector no longer sees the locks of a thread that has started another program");
#endif
    QTemporaryDir folder;
    QByteArray authority;
    for (int time = 0; time < 2; ++time) {
        QProcess program;
        const QByteArray address =
            started(program, {QStringLiteral("--tls"), folder.filePath(QStringLiteral("made"))});
        QVERIFY(address.startsWith("https://127.0.0.1:"));
        QFile file(folder.filePath(QStringLiteral("made/ca.pem")));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray pem = file.readAll();
        if (time > 0)
            QCOMPARE(pem, authority);
        authority = pem;

        QSslSocket socket;
        QSslConfiguration trusting = socket.sslConfiguration();
        trusting.setCaCertificates(QSslCertificate::fromData(pem));
        socket.setSslConfiguration(trusting);
        socket.connectToHostEncrypted(QStringLiteral("127.0.0.1"), portOf(address));
        QVERIFY2(socket.waitForEncrypted(testPatience), qPrintable(socket.errorString()));
        socket.abort();
        QVERIFY(ends(program, SIGTERM));
    }
}

PELORIN_CORE_TEST_MAIN(FeedServerProgramTest)
#include "FeedServerProgramTest.moc"
