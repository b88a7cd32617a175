// The probe against a real bus, one that hangs, and what is no bus.

#include "TestMain.h"
#include "platform/BusProbe.h"

#include <QProcess>
#include <QTemporaryDir>

#include <csignal>
#include <memory>
#include <sys/socket.h>
#include <sys/un.h>

namespace pelorinnews::test {

using namespace std::chrono_literals;

class BusProbeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aBusAnswers_data();
    void aBusAnswers();
    void aBusThatHangsDoesNotAnswer();
    void aBusThatHasEndedDoesNotAnswer();
    void whatIsNoBusDoesNotAnswer_data();
    void whatIsNoBusDoesNotAnswer();
    void aFullQueueIsNotWaitedForLonger();
    void otherTransportsAreNotAsked();

private:
    [[nodiscard]] QString path() const { return _folder->filePath(QStringLiteral("a bus")); }

    std::unique_ptr<QTemporaryDir> _folder;
    std::unique_ptr<QProcess> _bus;
};

void BusProbeTest::init() {
    _folder = std::make_unique<QTemporaryDir>();
    _bus = std::make_unique<QProcess>();
    _bus->start(QStringLiteral("dbus-daemon"),
                {QStringLiteral("--session"), QStringLiteral("--nofork"),
                 QStringLiteral("--nopidfile"), QStringLiteral("--print-address=1"),
                 QStringLiteral("--address=unix:path=") + path().replace(u' ', u"%20"_qs)});
    QVERIFY(_bus->waitForReadyRead(testPatience));
}

void BusProbeTest::cleanup() {
    if (_bus->state() != QProcess::NotRunning) {
        ::kill(static_cast<pid_t>(_bus->processId()), SIGCONT);
        _bus->terminate();
        QVERIFY(_bus->waitForFinished(testPatience));
    }
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
}

void BusProbeTest::aBusAnswers_data() {
    QTest::addColumn<QString>("address");
    QTest::newRow("path") << QStringLiteral("unix:path=PATH");
    QTest::newRow("more than a path") << QStringLiteral("unix:guid=0123,path=PATH,x");
    QTest::newRow("second address") << QStringLiteral("unix:path=/none;unix:path=PATH");
}

void BusProbeTest::aBusAnswers() {
    QFETCH(QString, address);
    address.replace(QStringLiteral("PATH"), path().replace(u' ', u"%20"_qs));
    QVERIFY(busAnswers(address));
    qputenv("DBUS_SESSION_BUS_ADDRESS", address.toUtf8());
    QVERIFY(busAnswers());
}

void BusProbeTest::aBusThatHangsDoesNotAnswer() {
    QCOMPARE(::kill(static_cast<pid_t>(_bus->processId()), SIGSTOP), 0);
    const QString address = QStringLiteral("unix:path=") + path();
    QVERIFY(!busAnswers(address, 50ms));
    QCOMPARE(::kill(static_cast<pid_t>(_bus->processId()), SIGCONT), 0);
    QVERIFY(busAnswers(address));
}

void BusProbeTest::aBusThatHasEndedDoesNotAnswer() {
    _bus->kill();
    QVERIFY(_bus->waitForFinished(testPatience));
    QVERIFY(QFile::exists(path()));
    QVERIFY(!busAnswers(QStringLiteral("unix:path=") + path()));
}

void BusProbeTest::whatIsNoBusDoesNotAnswer_data() {
    QTest::addColumn<QString>("address");
    QTest::newRow("no file") << QStringLiteral("unix:path=/none");
    QTest::newRow("folder") << QStringLiteral("unix:path=/tmp");
    QTest::newRow("empty path") << QStringLiteral("unix:path=");
    QTest::newRow("path that is too long")
        << QStringLiteral("unix:path=/") + QStringLiteral("a").repeated(200);
    QTest::newRow("abstract") << QStringLiteral("unix:abstract=/tmp/pelorin-no-bus");
}

void BusProbeTest::whatIsNoBusDoesNotAnswer() {
    QFETCH(const QString, address);
    QVERIFY(!busAnswers(address));
}

// Nobody takes connections from this socket, and one fills its queue.
void BusProbeTest::aFullQueueIsNotWaitedForLonger() {
    const QByteArray name = QByteArray("\0pelorin-full-", 14) + QByteArray::number(::getpid());
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    std::copy(name.begin(), name.end(), place.sun_path);
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path)) +
                        static_cast<socklen_t>(name.size());
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    QCOMPARE(::bind(listener, reinterpret_cast<sockaddr *>(&place), length), 0);
    QCOMPARE(::listen(listener, 0), 0);
    const QString address = QStringLiteral("unix:abstract=") + QString::fromUtf8(name.mid(1));
    QVERIFY(!busAnswers(address, 50ms));
    // The first probe waits in the queue still, although it has given up.
    QVERIFY(!busAnswers(address, 50ms));
    ::close(listener);
}

void BusProbeTest::otherTransportsAreNotAsked() {
    QVERIFY(busAnswers(QStringLiteral("disabled:")));
    QVERIFY(busAnswers(QStringLiteral("tcp:host=127.0.0.1,port=1")));
    QVERIFY(busAnswers(QStringLiteral("nonsense")));
    QVERIFY(busAnswers(QStringLiteral("unix:runtime=yes")));
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::BusProbeTest)

#include "BusProbeTest.moc"
