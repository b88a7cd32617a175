#include "DaemonTest.h"
#include "PopUps.h"
#include "TestMain.h"

namespace pelorinnews::test {

using std::chrono::milliseconds;

/// Tests the notification centre with the server notification-daemon, using clicks of a real
/// pointer. This server broadcasts its signals.
class NotificationDaemonTest : public DaemonTest {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void showsAPopUpAndTakesItBack();
    void tellsTheDelegateOfAClick();
    void hearsTheClickOnOneOfAKilledProcess();
    void leavesForeignNotificationsAlone();
    void withdrawsOneThatTheServerNoLongerKnows();

private:
    /// The window ids of the pop-ups on the screen.
    [[nodiscard]] static QStringList popUps();
    static void click(const QString &window);
};

namespace {

QDBusMessage call(const QString &method) {
    return QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.Notifications"),
                                          QStringLiteral("/org/freedesktop/Notifications"),
                                          QStringLiteral("org.freedesktop.Notifications"), method);
}

}  // namespace

void NotificationDaemonTest::init() {
    start(QStringLiteral("/usr/lib/notification-daemon/notification-daemon"));
}

void NotificationDaemonTest::cleanup() {
    stop();
}

QStringList NotificationDaemonTest::popUps() {
    return PopUps::ofClass(QStringLiteral("notification-daemon"));
}

void NotificationDaemonTest::click(const QString &window) {
    // Click into the text: the close button is at the right.
    PopUps::click(window, 60, 40);
}

void NotificationDaemonTest::showsAPopUpAndTakesItBack() {
    _center->deliverNotification(notification(QStringLiteral("one")));
    QTRY_COMPARE(registered().size(), 1U);
    QTRY_COMPARE(popUps().size(), 1);
    const quint32 id = registered().at(0).serverId;
    _center->removeDeliveredNotification(_center->deliveredNotifications().constFirst());
    QTRY_VERIFY(registered().empty());
    // This server leaves the pop-up of a withdrawn notification on the screen until it expires, but
    // has forgotten its id.
    QDBusMessage close = call(QStringLiteral("CloseNotification"));
    close << id;
    QCOMPARE(_bus->connection().call(close).errorName(),
             QStringLiteral("org.freedesktop.Notifications.InvalidId"));
}

void NotificationDaemonTest::tellsTheDelegateOfAClick() {
    _center->deliverNotification(notification(QStringLiteral("one")));
    QTRY_COMPARE(popUps().size(), 1);
    QTRY_COMPARE(registered().size(), 1U);
    click(popUps().constFirst());
    QTRY_COMPARE(_delegate->activated.size(), 1);
    QCOMPARE(_delegate->activated[0].title, QStringLiteral("one"));
    QVERIFY(!_delegate->wasOffMainThread);
    QVERIFY(_center->deliveredNotifications().isEmpty());
    QTRY_COMPARE(popUps().size(), 0);
    QTRY_VERIFY(registered().empty());
}

void NotificationDaemonTest::hearsTheClickOnOneOfAKilledProcess() {
    BusProgram host(
        *_bus,
        QCoreApplication::applicationDirPath() + QStringLiteral("/pelorin-notificationclient"),
        {sender().stateFolder});
    host.writeLine(QStringLiteral("deliver of the killed"));
    QCOMPARE(host.readLine(), QStringLiteral("done"));
    host.kill();
    QTRY_COMPARE(popUps().size(), 1);

    QCOMPARE(titles(*_center), QStringList{QStringLiteral("of the killed")});
    QVERIFY(_center->flush(std::chrono::milliseconds(testPatience)));
    click(popUps().constFirst());
    QTRY_COMPARE(_delegate->activated.size(), 1);
    QCOMPARE(_delegate->activated[0].title, QStringLiteral("of the killed"));
    QTRY_VERIFY(registered().empty());
}

void NotificationDaemonTest::leavesForeignNotificationsAlone() {
    // This server shows one pop-up at a time.
    QDBusMessage notify = call(QStringLiteral("Notify"));
    notify << QStringLiteral("Other") << 0U << QString() << QStringLiteral("foreign") << QString()
           << QStringList{QStringLiteral("default"), QString()} << QVariantMap() << -1;
    QCOMPARE(_bus->connection().call(notify).type(), QDBusMessage::ReplyMessage);
    QTRY_COMPARE(popUps().size(), 1);
    const QStringList foreign = popUps();

    _center->deliverNotification(notification(QStringLiteral("first")));
    QTRY_COMPARE(registered().size(), 1U);
    _center->removeDeliveredNotification(_center->deliveredNotifications().constFirst());
    QVERIFY(_center->flush(std::chrono::milliseconds(testPatience)));
    QCOMPARE(popUps(), foreign);

    _center->deliverNotification(notification(QStringLiteral("second")));
    QTRY_COMPARE(registered().size(), 1U);
    click(foreign.constFirst());
    QTRY_VERIFY(popUps().size() == 1 && popUps() != foreign);
    QVERIFY(_delegate->activated.isEmpty());
    QCOMPARE(titles(*_center), QStringList{QStringLiteral("second")});
}

void NotificationDaemonTest::withdrawsOneThatTheServerNoLongerKnows() {
    _center->deliverNotification(notification(QStringLiteral("one")));
    QTRY_COMPARE(registered().size(), 1U);
    const UserNotification delivered = _center->deliveredNotifications().constFirst();
    // The notification is closed while none of our processes receives signals.
    const quint32 id = registered().at(0).serverId;
    _center = nullptr;
    QDBusMessage close = call(QStringLiteral("CloseNotification"));
    close << id;
    QCOMPARE(_bus->connection().call(close).type(), QDBusMessage::ReplyMessage);

    _center = std::make_unique<DesktopNotificationCenter>(sender());
    QCOMPARE(titles(*_center), QStringList{QStringLiteral("one")});
    _center->removeDeliveredNotification(delivered);
    QVERIFY(_center->deliveredNotifications().isEmpty());
    QTRY_VERIFY(registered().empty());
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::NotificationDaemonTest)

#include "NotificationDaemonTest.moc"
