#include "NotificationTesting.h"
#include "PopUps.h"
#include "PrivateBus.h"
#include "RecordingDelegate.h"
#include "TestMain.h"
#include "notifications/DesktopNotificationCenter.h"

#include <QTemporaryDir>
#include <QTest>

namespace pelorinnews::test {

/// Tests the notification centre with the server SwayNotificationCenter on Wayland, using clicks of
/// a real pointer. This server reports a click only if its action has a label.
class SwayNotificationCenterTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void tellsTheDelegateOfAClick();
};

void SwayNotificationCenterTest::tellsTheDelegateOfAClick() {
    const QTemporaryDir home;
    const QString state = home.filePath(QStringLiteral("state"));
    const PrivateBus bus;
    const BusProgram daemon(bus, QStringLiteral(PELORIN_TEST_DATA "/in-sway"),
                            {QStringLiteral("swaync")});
    QTRY_VERIFY(bus.hasNotificationServer());
    DesktopNotificationCenter center(senderOn(bus, state));
    const auto delegate = std::make_shared<RecordingDelegate>();
    center.setDelegate(delegate);
    center.deliverNotification(notification(QStringLiteral("one")));
    QTRY_COMPARE(registeredIn(state).size(), 1U);

    // The display's only window is sway's screen. The pop-up appears in the upper right corner of
    // that screen, some time after the server's reply.
    QStringList screen;
    QTRY_VERIFY(!(screen = PopUps::active()).isEmpty());
    const auto clickUntilItEnds = [&] {
        if (!center.deliveredNotifications().isEmpty())
            PopUps::click(screen.constFirst(), -250, 35);
        return center.deliveredNotifications().isEmpty();
    };
    QVERIFY(QTest::qWaitFor(clickUntilItEnds, testPatience));
    QVERIFY(QTest::qWaitFor([&] { return !delegate->activated.isEmpty(); }, testPatience));
    QCOMPARE(delegate->activated.size(), 1);
    QCOMPARE(delegate->activated[0].title, QStringLiteral("one"));
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::SwayNotificationCenterTest)

#include "SwayNotificationCenterTest.moc"
