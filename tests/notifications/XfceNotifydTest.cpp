#include "NotificationTesting.h"
#include "PopUps.h"
#include "PrivateBus.h"
#include "RecordingDelegate.h"
#include "TestMain.h"
#include "notifications/DesktopNotificationCenter.h"

#include <QTemporaryDir>
#include <QTest>

namespace pelorinnews::test {

/// Uses xfce4-notifyd, which reports a click only from a button, with clicks of a real pointer.
class XfceNotifydTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void opensByTheButton();
    void isDismissedByAClickBesideTheButton();

private:
    /// Delivers a notification and waits until it is the only one that stands.
    void deliver(const QString &title) const;
    /// Clicks into the pop-up, which may not be ready yet, until its notification has ended.
    [[nodiscard]] bool clickUntilItEnds(int x, int y) const;

    std::unique_ptr<QTemporaryDir> home;
    std::unique_ptr<PrivateBus> bus;
    std::unique_ptr<BusProgram> daemon;
    std::unique_ptr<DesktopNotificationCenter> center;
    std::shared_ptr<RecordingDelegate> delegate;
};

void XfceNotifydTest::init() {
    home = std::make_unique<QTemporaryDir>();
    bus = std::make_unique<PrivateBus>();
    daemon =
        std::make_unique<BusProgram>(*bus, QStringLiteral(PELORIN_XFCE_NOTIFYD), QStringList());
    QTRY_VERIFY(bus->hasNotificationServer());
    center = std::make_unique<DesktopNotificationCenter>(
        senderOn(*bus, home->filePath(QStringLiteral("state"))));
    delegate = std::make_shared<RecordingDelegate>();
    center->setDelegate(delegate);
    deliver(QStringLiteral("one"));
}

void XfceNotifydTest::cleanup() {
    center.reset();
    daemon.reset();
    bus.reset();
    home.reset();
}

void XfceNotifydTest::deliver(const QString &title) const {
    center->deliverNotification(notification(title));
    const auto stands = [&] {
        const auto entries = registeredIn(home->filePath(QStringLiteral("state")));
        return entries.size() == 1 && entries[0].notification.title == title;
    };
    QTRY_VERIFY(stands());
}

bool XfceNotifydTest::clickUntilItEnds(int x, int y) const {
    return QTest::qWaitFor(
        [&] {
            const QStringList popUps = PopUps::ofClass(QStringLiteral("xfce4-notifyd"));
            if (!popUps.isEmpty() && !center->deliveredNotifications().isEmpty())
                PopUps::click(popUps.constFirst(), x, y);
            return center->deliveredNotifications().isEmpty();
        },
        testPatience);
}

void XfceNotifydTest::opensByTheButton() {
    // The button is in the lower right corner, below the text.
    QVERIFY(clickUntilItEnds(-60, -30));
    QVERIFY(QTest::qWaitFor([this] { return !delegate->activated.isEmpty(); }, testPatience));
    QCOMPARE(delegate->activated.size(), 1);
    QCOMPARE(delegate->activated[0].title, QStringLiteral("one"));
    QTRY_VERIFY(PopUps::ofClass(QStringLiteral("xfce4-notifyd")).isEmpty());
}

void XfceNotifydTest::isDismissedByAClickBesideTheButton() {
    QVERIFY(clickUntilItEnds(30, 20));
    // Once this notification stands, all signals of the other have arrived.
    deliver(QStringLiteral("two"));
    QCoreApplication::processEvents();
    QVERIFY(delegate->activated.isEmpty());
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::XfceNotifydTest)

#include "XfceNotifydTest.moc"
