// The user, the network or a wrong battery sets the computer's clock while the panel runs.

#include "TestMain.h"
#include "TimeOfDay.h"
#include "WindowFixture.h"

#include <QApplication>

using namespace pelorinnews;
using namespace pelorinnews::test;

class WindowTimeOfDayTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void worksOnWithAnyTime_data();
    void worksOnWithAnyTime();

private:
    static qsizetype announcements(const WindowFixture &fixture) {
        return fixture.services.notificationCenter->deliveredNotifications().size();
    }

    std::unique_ptr<WindowFixture> _fixture;
};

void WindowTimeOfDayTest::init() {
    _fixture = std::make_unique<WindowFixture>();
    _fixture->prefer(QStringLiteral("newsShowOnStart"), false);
}

void WindowTimeOfDayTest::cleanup() {
    setTimeOfDayAhead(std::chrono::seconds(0));
    _fixture.reset();
}

void WindowTimeOfDayTest::worksOnWithAnyTime_data() {
    QTest::addColumn<int>("years");
    QTest::newRow("ahead") << 1;
    QTest::newRow("back") << -1;
}

/// Items of the last hour, then the same seen from another time, then again.
void WindowTimeOfDayTest::worksOnWithAnyTime() {
    QFETCH(int, years);
    const auto controller = _fixture->unshown(WindowFixture::items(12));
    OlvNewsCacheFiltered &cache = controller->newsCache();
    constexpr double week = 7 * 24 * 3600;
    cache.setFilterTimeInterval(week);
    QCOMPARE(cache.count(), 12ULL);
    const QDateTime viewed = cache.lastViewing();
    const qsizetype before = announcements(*_fixture);
    const auto requests = _fixture->server().requests().size();

    setTimeOfDayAhead(tenYears * years);
    QCoreApplication::processEvents();
    // The clock alone starts no refresh.
    QCOMPARE(_fixture->server().requests().size(), requests);
    controller->onRefreshTimerFire();
    WindowFixture::settle(*controller);
    QCOMPARE(_fixture->server().requests().size(), requests + 1);
    QVERIFY(controller->lastRefresh());
    QVERIFY(!controller->lastRefresh()->error);
    QVERIFY(std::abs(controller->lastRefresh()->time.daysTo(QDateTime::currentDateTimeUtc())) < 1);
    // Ten years later, all are too old. Ten years earlier, none is.
    QCOMPARE(cache.count(), years > 0 ? 0ULL : 12ULL);
    QCOMPARE(cache.lastViewing(), viewed);
    QCOMPARE(announcements(*_fixture), before);

    setTimeOfDayAhead(std::chrono::seconds(0));
    controller->onRefreshTimerFire();
    WindowFixture::settle(*controller);
    QCOMPARE(cache.count(), 12ULL);
    QCOMPARE(cache.lastViewing(), viewed);
    QCOMPARE(announcements(*_fixture), before);
}

PELORIN_WIDGET_TEST_MAIN(WindowTimeOfDayTest)
#include "TimeOfDayTest.moc"
