// The computer sleeps and wakes while the panel runs.

#include "TestMain.h"
#include "TimeOfDay.h"
#include "WindowFixture.h"

#include <QApplication>

using namespace pelorinnews;
using namespace pelorinnews::test;

class SleepTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void refreshesOnceAfterALongSleep();
    void countsAShortSleep();
    void forgetsWhatBecameTooOldInSleep();
    void keepsAnOpenWindowAsItWas();
    void survivesASleepInTheMiddleOfADownload();

private:
    static constexpr std::chrono::seconds interval = std::chrono::hours(1);

    [[nodiscard]] std::size_t requests() const { return _fixture->server().requests().size(); }
    /// Long enough for a refresh that should not come.
    void expectNoMoreThan(std::size_t count) const {
        QTest::qWait(500);
        QCOMPARE(requests(), count);
    }

    std::unique_ptr<WindowFixture> _fixture;
};

void SleepTest::init() {
    _fixture = std::make_unique<WindowFixture>();
    _fixture->prefer(QStringLiteral("newsShowOnStart"), false);
    _fixture->prefer(QStringLiteral("newsRefreshInterval"), qint64{interval.count()});
}

void SleepTest::cleanup() {
    _fixture.reset();
    setTimeOfDayAhead(std::chrono::seconds(0));
}

void SleepTest::refreshesOnceAfterALongSleep() {
    const auto controller = _fixture->unshown(WindowFixture::items(2));
    QCOMPARE(requests(), 1U);
    expectNoMoreThan(1);
    QList<FeedItem> later = WindowFixture::items(3);
    later.first().title = QStringLiteral("From the night");
    later.first().date = QDateTime::currentDateTimeUtc().addSecs(5 * interval.count());
    _fixture->serve(later);

    letComputerSleep(interval * 11 / 2);
    QTRY_COMPARE(requests(), 2U);
    WindowFixture::settle(*controller);
    QCOMPARE(controller->newsCache().count(), 3ULL);
    const auto announced = _fixture->services.notificationCenter->deliveredNotifications();
    QCOMPARE(announced.size(), 1);
    QCOMPARE(announced.first().informativeText, QStringLiteral("From the night"));
    QVERIFY(!WindowFixture::isShown());
    expectNoMoreThan(2);
}

void SleepTest::countsAShortSleep() {
    const auto controller = _fixture->unshown(WindowFixture::items(2));
    letComputerSleep(interval / 2);
    expectNoMoreThan(1);
    letComputerSleep(interval / 2);
    QTRY_COMPARE(requests(), 2U);
    WindowFixture::settle(*controller);
}

void SleepTest::forgetsWhatBecameTooOldInSleep() {
    constexpr int recent = 2;
    _fixture->prefer(QStringLiteral("newsFilter"), recent);
    const auto controller = _fixture->unshown(WindowFixture::items(2));
    QCOMPARE(controller->newsCache().count(), 2ULL);
    letComputerSleep(std::chrono::hours(24 * 40));
    QTRY_COMPARE(requests(), 2U);
    WindowFixture::settle(*controller);
    QCOMPARE(controller->newsCache().count(), 0ULL);
}

void SleepTest::keepsAnOpenWindowAsItWas() {
    const auto controller = _fixture->shown(WindowFixture::items(2));
    const std::size_t before = requests();
    _fixture->serve(WindowFixture::items(3));
    letComputerSleep(interval * 3);
    expectNoMoreThan(before);
    QVERIFY(WindowFixture::isShown());
    QCOMPARE(controller->newsCache().count(), 2ULL);
    // The refresh that was owed.
    controller->window()->close();
    QTRY_COMPARE(requests(), before + 1);
    WindowFixture::settle(*controller);
    expectNoMoreThan(before + 1);
}

/// The network is gone after the sleep, and the connection with it.
void SleepTest::survivesASleepInTheMiddleOfADownload() {
    const auto controller = _fixture->unshown(WindowFixture::items(2));
    FeedReply stall;
    stall.stallAfter = 10;
    _fixture->server().setReply(stall);
    controller->onRefreshTimerFire();
    QVERIFY(_fixture->server().waitForRequests(2));
    letComputerSleep(interval * 2);
    // A refresh does not wait for an earlier one.
    QTRY_COMPARE(requests(), 3U);
    _fixture->server().clearReplies();
    _fixture->server().stop();
    WindowFixture::settle(*controller);
    QVERIFY(controller->lastRefresh() && controller->lastRefresh()->error);
    QCOMPARE(controller->newsCache().count(), 2ULL);
    // Nobody answers any more; then the network is back.
    letComputerSleep(interval);
    QTest::qWait(100);
    WindowFixture::settle(*controller);
    QCOMPARE(controller->newsCache().count(), 2ULL);
}

PELORIN_WIDGET_TEST_MAIN(SleepTest)
#include "SleepTest.moc"
