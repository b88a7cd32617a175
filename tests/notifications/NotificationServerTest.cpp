#include "FakeNotificationServer.h"
#include "PrivateBus.h"
#include "TestMain.h"
#include "notifications/NotificationServer.h"

#include <QTest>

#include <algorithm>
#include <memory>
#include <vector>

namespace pelorinnews::test {

class NotificationServerTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void answersComeOnceHoweverFast();
};

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
            servers.push_back(std::make_unique<NotificationServer>(
                QStringLiteral("Host"), QStringLiteral("com.example.Host"),
                QStringLiteral("Open")));
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

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::NotificationServerTest)
#include "NotificationServerTest.moc"
