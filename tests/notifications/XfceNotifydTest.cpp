#include "DaemonTest.h"
#include "PopUps.h"
#include "TestMain.h"

namespace pelorinnews::test {

/// Tests the notification centre with the server xfce4-notifyd, using clicks of a real pointer.
/// This server reports a click only from a button.
class XfceNotifydTest : public DaemonTest {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void opensByTheButton();
    void isDismissedByAClickBesideTheButton();

private:
    /// Delivers a notification and waits until it is the only one in the registry.
    void deliver(const QString &title) const;
    /// Clicks into the pop-up until its notification has ended: the pop-up may not be ready at the
    /// first click. False on timeout.
    [[nodiscard]] bool clickUntilItEnds(int x, int y) const;
};

void XfceNotifydTest::init() {
    start(QStringLiteral(PELORIN_XFCE_NOTIFYD));
    deliver(QStringLiteral("one"));
}

void XfceNotifydTest::cleanup() {
    stop();
}

void XfceNotifydTest::deliver(const QString &title) const {
    _center->deliverNotification(notification(title));
    QTRY_COMPARE(registeredTitles(), QStringList{title});
}

bool XfceNotifydTest::clickUntilItEnds(int x, int y) const {
    return QTest::qWaitFor(
        [&] {
            const QStringList popUps = PopUps::ofClass(QStringLiteral("xfce4-notifyd"));
            if (!popUps.isEmpty() && !_center->deliveredNotifications().isEmpty())
                PopUps::click(popUps.constFirst(), x, y);
            return _center->deliveredNotifications().isEmpty();
        },
        testPatience);
}

void XfceNotifydTest::opensByTheButton() {
    // The button is in the lower right corner, below the text.
    QVERIFY(clickUntilItEnds(-60, -30));
    QVERIFY(QTest::qWaitFor([this] { return !_delegate->activated.isEmpty(); }, testPatience));
    QCOMPARE(_delegate->activated.size(), 1);
    QCOMPARE(_delegate->activated[0].title, QStringLiteral("one"));
    QTRY_VERIFY(PopUps::ofClass(QStringLiteral("xfce4-notifyd")).isEmpty());
}

void XfceNotifydTest::isDismissedByAClickBesideTheButton() {
    QVERIFY(clickUntilItEnds(30, 20));
    // Once this notification is in the registry, all signals about the first one have arrived.
    deliver(QStringLiteral("two"));
    QCoreApplication::processEvents();
    QVERIFY(_delegate->activated.isEmpty());
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::XfceNotifydTest)

#include "XfceNotifydTest.moc"
