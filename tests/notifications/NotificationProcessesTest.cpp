#include "FakeNotificationServer.h"
#include "NotificationTesting.h"
#include "PrivateBus.h"
#include "TestMain.h"

#include <QTemporaryDir>
#include <QTest>

namespace pelorinnews::test {

/// Tests several processes of one host, with a server that sends every click to each of them.
class NotificationProcessesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void theProcessThatDeliveredActsOnAClick();
    void oneOfTheOthersActsOnAClickWhereTheDeliveringProcessDied();

private:
    using Process = std::unique_ptr<BusProgram>;
    [[nodiscard]] QString stateFolder() const { return _home->filePath(QStringLiteral("state")); }
    [[nodiscard]] Process start() const;
    /// A process that listens for clicks.
    [[nodiscard]] Process startListening() const;
    /// Makes `process` deliver a notification and waits until it is in the registry. Returns its
    /// server id.
    [[nodiscard]] quint32 deliver(BusProgram &process, const QString &title) const;
    /// The titles of the clicked notifications according to `process`, after it has received
    /// everything that the server has sent so far.
    [[nodiscard]] QStringList clicksOf(BusProgram &process) const;
    void click(quint32 id) const;

    std::unique_ptr<QTemporaryDir> _home;
    std::unique_ptr<PrivateBus> _bus;
    std::unique_ptr<FakeNotificationServer> _server;
};

namespace {

QString ask(BusProgram &process, const QString &command) {
    process.writeLine(command);
    return process.readLine();
}

}  // namespace

void NotificationProcessesTest::init() {
    _home = std::make_unique<QTemporaryDir>();
    _bus = std::make_unique<PrivateBus>();
    _server = std::make_unique<FakeNotificationServer>(_bus->connection());
}

void NotificationProcessesTest::cleanup() {
    _server.reset();
    _bus.reset();
    _home.reset();
}

NotificationProcessesTest::Process NotificationProcessesTest::start() const {
    return std::make_unique<BusProgram>(
        *_bus,
        QCoreApplication::applicationDirPath() + QStringLiteral("/pelorin-notificationclient"),
        QStringList{stateFolder()});
}

NotificationProcessesTest::Process NotificationProcessesTest::startListening() const {
    Process process = start();
    if (ask(*process, QStringLiteral("listen")) != QLatin1String("done"))
        qFatal("the process does not listen");
    return process;
}

quint32 NotificationProcessesTest::deliver(BusProgram &process, const QString &title) const {
    process.writeLine(QStringLiteral("deliver ") + title);
    quint32 id = 0;
    const auto isRegistered = [&] {
        for (const RegistryEntry &entry : registeredIn(stateFolder())) {
            if (entry.notification.title == title)
                id = entry.serverId;
        }
        return id != 0;
    };
    if (!QTest::qWaitFor(isRegistered, testPatience))
        qFatal("the notification does not reach the registry");
    static_cast<void>(process.readLine());
    return id;
}

QStringList NotificationProcessesTest::clicksOf(BusProgram &process) const {
    // A delivery serves as a barrier: the server's reply arrives after all signals that were sent
    // before.
    static int count = 0;
    static_cast<void>(deliver(process, QStringLiteral("barrier %1").arg(++count)));
    return ask(process, QStringLiteral("clicks")).split(QLatin1Char(','), Qt::SkipEmptyParts);
}

void NotificationProcessesTest::click(quint32 id) const {
    _server->emitSignal(QStringLiteral("ActionInvoked"), {id, QStringLiteral("default")});
    _server->emitSignal(QStringLiteral("NotificationClosed"), {id, 2U});
}

void NotificationProcessesTest::theProcessThatDeliveredActsOnAClick() {
    const Process deliverer = startListening();
    const Process other = startListening();
    click(deliver(*deliverer, QStringLiteral("one")));
    QCOMPARE(clicksOf(*deliverer), QStringList{QStringLiteral("one")});
    QCOMPARE(clicksOf(*other), QStringList());
}

void NotificationProcessesTest::oneOfTheOthersActsOnAClickWhereTheDeliveringProcessDied() {
    Process deliverer = start();
    static_cast<void>(deliver(*deliverer, QStringLiteral("present")));
    const Process first = startListening();
    const Process second = startListening();
    // Try several times, because the two processes race.
    QStringList expected;
    for (int round = 0; round < 5; ++round) {
        const QString title = QStringLiteral("of the dead %1").arg(round);
        const quint32 id = deliver(*deliverer, title);
        deliverer->kill();
        click(id);
        expected.append(title);
        QStringList clicks = clicksOf(*first) + clicksOf(*second);
        clicks.sort();
        QCOMPARE(clicks, expected);
        deliverer = start();
    }
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::NotificationProcessesTest)

#include "NotificationProcessesTest.moc"
