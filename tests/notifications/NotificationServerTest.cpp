#include "FakeNotificationServer.h"
#include "PrivateBus.h"
#include "TestMain.h"
#include "notifications/NotificationServer.h"

#include <QDBusConnectionInterface>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace pelorinnews::test {

class NotificationServerTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void answersComeOnceHoweverFast();
    void hasNoOwnerWhereNoServerRuns();
    void tellsWhichConnectionsExist();
    void keepsNothingOfACallThatWasAnswered();
    void knowsNothingOnceTheBusHasEnded();
};

namespace {

std::unique_ptr<NotificationServer> newServer() {
    return std::make_unique<NotificationServer>(
        QStringLiteral("Host"), QStringLiteral("com.example.Host"), QStringLiteral("Open"));
}

}  // namespace

/// A reply may arrive before anybody waits for it; whether it does is a race.
void NotificationServerTest::answersComeOnceHoweverFast() {
    constexpr int rounds = 20;
    constexpr int many = 50;
    PrivateBus bus;
    const FakeNotificationServer fake(bus.connection());
    for (int round = 0; round < rounds; ++round) {
        std::vector<std::unique_ptr<NotificationServer>> servers;
        int changes = 0;
        int answers = 0;
        for (int number = 0; number < many; ++number) {
            servers.push_back(newServer());
            NotificationServer &server = *servers.back();
            connect(&server, &NotificationServer::serverChanged, this, [&] {
                ++changes;
                server.askIsOnBus(server.owner(), [&](bool) { ++answers; });
            });
            QVERIFY(server.open(bus.address()));
        }
        const auto knowAll = [&] {
            return std::all_of(servers.begin(), servers.end(),
                               [](const auto &server) { return server->isKnown(); });
        };
        QTRY_VERIFY(knowAll());
        QTRY_VERIFY(answers >= many);
        QCOMPARE(changes, many);
        QCOMPARE(answers, many);
    }
}

/// The bus stops between its replies about itself and about the server, and then ends.
void NotificationServerTest::knowsNothingOnceTheBusHasEnded() {
    PrivateBus bus;
    const auto daemon = static_cast<pid_t>(bus.processId());
    const auto server = newServer();
    QList<bool> changes;
    connect(server.get(), &NotificationServer::serverChanged, this,
            [&] { changes.append(server->isKnown()); });
    QVERIFY(server->open(bus.address()));
    // The bus sends its first reply before these. Nothing here takes it before the bus has stopped.
    for (int i = 0; i < 3; ++i)
        QVERIFY(bus.connection().interface()->registeredServiceNames().isValid());
    QCOMPARE(::kill(daemon, SIGSTOP), 0);
    QTRY_VERIFY(!server->busId().isEmpty());
    QCOMPARE(changes, QList<bool>());
    QCOMPARE(::kill(daemon, SIGKILL), 0);
    QTRY_VERIFY(!changes.isEmpty());
    // The reply that never came is reported now, too.
    QTest::qWait(100);
    QCOMPARE(changes, QList<bool>{false});
    QVERIFY(!server->isKnown());
}

void NotificationServerTest::hasNoOwnerWhereNoServerRuns() {
    const PrivateBus bus;
    const auto server = newServer();
    QVERIFY(server->open(bus.address()));
    QTRY_VERIFY(server->isKnown());
    QCOMPARE(server->owner(), QString());
}

void NotificationServerTest::tellsWhichConnectionsExist() {
    const PrivateBus bus;
    const auto server = newServer();
    QVERIFY(server->open(bus.address()));
    // The last name is malformed: the bus replies with an error.
    const std::vector<std::pair<QString, bool>> expected = {
        {bus.connection().baseService(), true}, {QStringLiteral(":1.999"), false}, {"..", false}};
    for (const auto &[name, exists] : expected) {
        std::optional<bool> answer;
        server->askIsOnBus(name, [&answer](bool isOnBus) { answer = isOnBus; });
        QTRY_VERIFY(answer);
        QCOMPARE(*answer, exists);
    }
}

void NotificationServerTest::keepsNothingOfACallThatWasAnswered() {
    PrivateBus bus;
    const FakeNotificationServer fake(bus.connection());
    const auto server = newServer();
    QVERIFY(server->open(bus.address()));
    QTRY_VERIFY(server->isKnown());
    bool isAnswered = false;
    server->close(1, [&isAnswered] { isAnswered = true; });
    QVERIFY(!server->children().isEmpty());
    QTRY_VERIFY(isAnswered);
    QTRY_VERIFY(server->children().isEmpty());
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::NotificationServerTest)
#include "NotificationServerTest.moc"
