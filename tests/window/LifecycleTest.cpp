// What the controller does by itself between its creation and its end: refreshing, closing.

#include "RecordingLogger.h"
#include "TestMain.h"
#include "WindowTest.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTimer>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

// A repeating timer of the kernel (timerfd), in seconds: its period, and the time until it next
// fires.
struct Alarm {
    qint64 interval;
    double remaining;
};

// The time in a line of `/proc/self/fdinfo`: "it_value: (14399, 992851)" gives seconds and
// nanoseconds.
double seconds(const QByteArray &line) {
    const auto parts = line.mid(line.indexOf('(') + 1).chopped(1).split(',');
    return parts.value(0).toDouble() + parts.value(1).trimmed().toDouble() / 1e9;
}

// The repeating kernel timers of this process.
QList<Alarm> alarms() {
    QList<Alarm> all;
    const QDir infos(QStringLiteral("/proc/self/fdinfo"));
    for (const QString &name : infos.entryList(QDir::Files)) {
        QFile info(infos.filePath(name));
        if (!info.open(QIODevice::ReadOnly))
            continue;
        double remaining = 0;
        for (const QByteArray &line : info.readAll().split('\n')) {
            if (line.startsWith("it_value: ("))
                remaining = seconds(line);
            if (line.startsWith("it_interval: ("))
                all.append({static_cast<qint64>(seconds(line)), remaining});
        }
    }
    return all;
}

}  // namespace

class LifecycleTest : public WindowTest {
    Q_OBJECT

private Q_SLOTS:
    void makesNoWindowAtCreation();
    void refreshesAtTheStoredInterval_data();
    void refreshesAtTheStoredInterval();
    void refreshesAgainWhenTheTimerFires();
    void owesOneRefreshForAnyNumberOfFiringsWhileOpen();
    void theOwedRefreshAnnouncesAndOpensNothing();
    void marksEveryItemAsViewedWhenClosing();
    void aWindowClosedBeforeItBecameKeyIsClosed();
    void regainingTheFocusChangesNothing();
    void becomesKeyOnceMoreAfterClosing();
    void showsAMinimisedWindowAgain();
    void opensInTheSizeThatItWasClosedIn();
    void opensMaximizedAgain();
    void aWindowDeletedBySomebodyElseIsMadeAnew_data();
    void aWindowDeletedBySomebodyElseIsMadeAnew();
    void deletingTheOpenWindowClosesIt();
    void deletingTheClosedWindowViewsNothing();
    void closingDoesNotEndTheHost();
    void logsTheFailureOfEitherRefreshAndNothingOfTheCache();
    void staysUsableWithoutAWindowDescription();

private:
    void prepare() override { _fixture->serve(WindowFixture::items(5)); }
};

void LifecycleTest::makesNoWindowAtCreation() {
    _fixture->prefer(QStringLiteral("newsShowOnStart"), false);
    const auto before = QApplication::allWidgets().size();
    const auto controller = _fixture->makeController();
    QCOMPARE(QApplication::allWidgets().size(), before);
    QVERIFY(controller->window());
    QCOMPARE_GT(QApplication::allWidgets().size(), before);
}

void LifecycleTest::refreshesAtTheStoredInterval_data() {
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<qint64>("seconds");
    QTest::newRow("default: four hours") << QVariant() << qint64{14400};
    QTest::newRow("a minute") << QVariant(60) << qint64{60};
    QTest::newRow("zero becomes a second") << QVariant(0) << qint64{1};
    QTest::newRow("more than 24 days") << QVariant(3'000'000) << qint64{3'000'000};
}

void LifecycleTest::refreshesAtTheStoredInterval() {
    QFETCH(const QVariant, stored);
    QFETCH(const qint64, seconds);
    _fixture->prefer(QStringLiteral("newsRefreshInterval"), stored);
    QCOMPARE(alarms().size(), 0);
    QElapsedTimer sinceBefore;
    sinceBefore.start();
    const auto controller = _fixture->beginController();
    const auto now = alarms();
    QCOMPARE(now.size(), 1);
    QCOMPARE(now.first().interval, seconds);
    // The timer first fires one full interval after its creation. On a slow computer it may have
    // fired already.
    const auto interval = static_cast<double>(seconds);
    const double passed = static_cast<double>(sinceBefore.nsecsElapsed()) / 1e9;
    QVERIFY(now.first().remaining <= interval);
    QVERIFY(now.first().remaining >= interval - passed || passed >= interval);
    WindowFixture::settle(*controller);
    QVERIFY(_fixture->server().requests().size() == 1 || seconds == 1);
    controller->exit();
}

void LifecycleTest::refreshesAgainWhenTheTimerFires() {
    _fixture->prefer(QStringLiteral("newsShowOnStart"), false);
    _fixture->prefer(QStringLiteral("newsRefreshInterval"), 1);
    const auto controller = _fixture->makeController();
    QTRY_VERIFY(_fixture->server().requests().size() >= 3);
}

void LifecycleTest::owesOneRefreshForAnyNumberOfFiringsWhileOpen() {
    const auto controller = _fixture->makeController();
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 5"));
    controller->onRefreshTimerFire();
    controller->onRefreshTimerFire();
    WindowFixture::settle(*controller);
    QCOMPARE(_fixture->server().requests().size(), 1U);
    controller->window()->performClose();
    QVERIFY(_fixture->server().waitForRequests(2));
    WindowFixture::settle(*controller);
    QCOMPARE(_fixture->server().requests().size(), 2U);
    // The postponed refresh runs only once.
    controller->itemIndicator()->setText(QStringLiteral("before"));
    controller->showWindow();
    QTRY_VERIFY(controller->itemIndicator()->text() != QLatin1String("before"));
    controller->window()->performClose();
    WindowFixture::settle(*controller);
    QCOMPARE(_fixture->server().requests().size(), 2U);
}

void LifecycleTest::theOwedRefreshAnnouncesAndOpensNothing() {
    const auto controller = _fixture->makeController();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 5"));
    controller->onRefreshTimerFire();
    auto items = WindowFixture::items(1);
    items[0].date = QDateTime::currentDateTimeUtc();
    _fixture->serve(items);
    controller->window()->performClose();
    QVERIFY(_fixture->server().waitForRequests(2));
    WindowFixture::settle(*controller);
    QCOMPARE(controller->newsCache().sinceLastViewingCount(), 1);
    QVERIFY(!WindowFixture::isShown());
    QCOMPARE(_fixture->services.notificationCenter->deliveredNotifications().size(), 1);
}

void LifecycleTest::marksEveryItemAsViewedWhenClosing() {
    auto items = WindowFixture::items(5);
    std::swap(items[0], items[3]);  // the latest item need not be the first
    _fixture->serve(items);
    const auto controller = _fixture->makeController();
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 5"));
    QVERIFY(controller->newsCache().sinceLastViewingCount() > 0);
    controller->window()->performClose();
    QCOMPARE(controller->newsCache().sinceLastViewingCount(), 0);
    QCOMPARE(controller->newsCache().lastViewing().toSecsSinceEpoch(),
             items[3].date.toSecsSinceEpoch());
    QCOMPARE(controller->newsCache().count(), 5U);
}

void LifecycleTest::aWindowClosedBeforeItBecameKeyIsClosed() {
    _fixture->prefer(QStringLiteral("newsShowOnStart"), false);
    const auto controller = _fixture->makeController();
    controller->showWindow();
    controller->window()->performClose();
    QTest::qWait(500);  // wait for late events of the window system
    QVERIFY(!WindowFixture::isShown());
    controller->refreshCache();
    QVERIFY(_fixture->server().waitForRequests(2));
    WindowFixture::settle(*controller);
}

void LifecycleTest::regainingTheFocusChangesNothing() {
    const auto controller = _fixture->makeController();
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 5"));
    controller->onNextItem();
    QTRY_COMPARE(controller->webView()->outerHTML(), QStringLiteral("<p>Body 2</p>"));
    // If the window displayed its item again, it would overwrite these marks.
    const auto mark = QStringLiteral("Nothing was displayed since");
    controller->webView()->loadHtmlString(mark);
    controller->itemIndicator()->setText(mark);
    controller->nextItem()->setEnabled(false);
    QWidget other;
    other.show();
    other.activateWindow();
    QTRY_VERIFY(other.isActiveWindow());
    controller->window()->activateWindow();
    QTRY_VERIFY(controller->window()->isActiveWindow());
    WindowFixture::settle(*controller);
    QCOMPARE(controller->itemIndicator()->text(), mark);
    QCOMPARE(controller->webView()->outerHTML(), mark);
    QVERIFY(!controller->nextItem()->isEnabled());
    // The position has not gone back to the first item, either.
    controller->onNextItem();
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("3 / 5"));
}

void LifecycleTest::becomesKeyOnceMoreAfterClosing() {
    const auto controller = _fixture->makeController();
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 5"));
    controller->onNextItem();
    controller->window()->performClose();
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 5"));
}

void LifecycleTest::showsAMinimisedWindowAgain() {
    const auto controller = _fixture->makeController();
    controller->showWindow();
    QTRY_VERIFY(WindowFixture::isShown());
    controller->window()->showMinimized();
    controller->showWindow();
    QVERIFY(!controller->window()->isMinimized());
    QVERIFY(!controller->window()->isMaximized());
    controller->window()->showMaximized();
    controller->window()->setWindowState(Qt::WindowMaximized | Qt::WindowMinimized);
    controller->showWindow();
    QVERIFY(!controller->window()->isMinimized());
    QVERIFY(controller->window()->isMaximized());
}

void LifecycleTest::opensInTheSizeThatItWasClosedIn() {
    const auto controller = _fixture->makeController();
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 5"));
    controller->window()->performClose();
    const QSize closed = controller->window()->size();
    // Simulates a desktop that answers an earlier resize only after the window has closed.
    controller->window()->resize(closed + QSize(0, 40));
    controller->showWindow();
    QCOMPARE(controller->window()->size(), closed);
}

void LifecycleTest::opensMaximizedAgain() {
    const auto controller = _fixture->makeController();
    const auto reopen = [&controller] {
        controller->window()->performClose();
        controller->showWindow();
        QTRY_VERIFY(WindowFixture::isShown());
    };
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 5"));
    // Closing a window that is not maximized stores its size. A window that was closed maximized
    // must not reopen in the stored size.
    reopen();
    const QSize ordinary = controller->window()->size();
    controller->window()->showMaximized();
    QTRY_VERIFY(controller->window()->width() > ordinary.width());
    const QSize maximized = controller->window()->size();
    reopen();
    QTRY_COMPARE(controller->window()->size(), maximized);
    QVERIFY(controller->window()->isMaximized());
}

void LifecycleTest::aWindowDeletedBySomebodyElseIsMadeAnew_data() {
    QTest::addColumn<bool>("active");
    QTest::addColumn<bool>("closed");
    QTest::newRow("as soon as it is shown") << false << false;
    QTest::newRow("while it is open") << true << false;
    QTest::newRow("after its closing") << true << true;
}

void LifecycleTest::aWindowDeletedBySomebodyElseIsMadeAnew() {
    QFETCH(const bool, active);
    QFETCH(const bool, closed);
    _fixture->prefer(QStringLiteral("newsShowOnStart"), false);
    _fixture->prefer(QStringLiteral("newsFilter"), 1);
    const auto controller = _fixture->makeController();
    controller->showWindow();
    if (active)
        QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 5"));
    if (closed)
        controller->window()->performClose();
    delete controller->window();
    QVERIFY(!WindowFixture::isShown());
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 5"));
    QTRY_COMPARE(controller->webView()->outerHTML(), QStringLiteral("<p>Body 1</p>"));
    QVERIFY(controller->nextItem()->isEnabled());
    controller->onNextItem();
    QTRY_COMPARE(controller->webView()->outerHTML(), QStringLiteral("<p>Body 2</p>"));
}

void LifecycleTest::deletingTheOpenWindowClosesIt() {
    auto items = WindowFixture::items(5);
    std::swap(items[0], items[3]);  // an item newer than the first stays unviewed
    _fixture->serve(items);
    const auto controller = _fixture->makeController();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 5"));
    controller->onRefreshTimerFire();
    QVERIFY(controller->newsCache().sinceLastViewingCount() > 0);
    delete controller->window();
    QCOMPARE(controller->newsCache().sinceLastViewingCount(), 0);
    QVERIFY(_fixture->server().waitForRequests(2));
    WindowFixture::settle(*controller);
    // No window is open, so the next refresh is not postponed.
    controller->onRefreshTimerFire();
    QVERIFY(_fixture->server().waitForRequests(3));
    WindowFixture::settle(*controller);
    QVERIFY(!WindowFixture::isShown());
}

void LifecycleTest::deletingTheClosedWindowViewsNothing() {
    _fixture->prefer(QStringLiteral("newsShowOnStart"), false);
    const auto controller = _fixture->makeController();
    QVERIFY(controller->window());
    const auto before = controller->newsCache().sinceLastViewingCount();
    QVERIFY(before > 0);
    delete controller->window();
    QCOMPARE(controller->newsCache().sinceLastViewingCount(), before);
}

void LifecycleTest::closingDoesNotEndTheHost() {
    const auto controller = _fixture->makeController();
    controller->showWindow();
    QTRY_VERIFY(WindowFixture::isShown());
    // Closing the last window ends an application only while its main loop runs.
    constexpr int endedByTheTest = 7;
    QTimer::singleShot(0, controller->window(), &QWidget::close);
    QTimer::singleShot(200, qApp, [] { QCoreApplication::exit(endedByTheTest); });
    QCOMPARE(QApplication::exec(), endedByTheTest);
    QVERIFY(!WindowFixture::isShown());
}

void LifecycleTest::logsTheFailureOfEitherRefreshAndNothingOfTheCache() {
    _fixture->prefer(QStringLiteral("newsShowOnStart"), false);
    const auto controller = _fixture->makeController();
    const auto logger = std::make_shared<RecordingLogger>();
    controller->setLogger(logger);
    controller->newsCache().setFeedBaseURL(QString());
    controller->refreshCache();
    controller->refreshCacheShowingWindow();
    const QString error =
        QStringLiteral("Error Domain=com.Olvane.PelorinNews.NewsCache.ErrorDomain Code=-2");
    const QList<RecordingLogger::Entry> expected = {
        {1, QStringLiteral("News Window Controller - refreshContent received an error: ") + error},
        {1, QStringLiteral(
                "News Window Controller - refreshContentShowingWindow received an error: ") +
                error}};
    QCOMPARE(logger->entries(), expected);
    controller->setLogger(nullptr);
    controller->refreshCache();
    QCOMPARE(logger->entries().size(), 2);
}

void LifecycleTest::staysUsableWithoutAWindowDescription() {
    const auto controller = _fixture->beginController(QStringLiteral("Absent"));
    WindowFixture::settle(*controller);
    QVERIFY(!controller->window());
    controller->showWindow();
    controller->onOptionsButton();
    controller->onOptionsButton();
    controller->refreshControls();
    controller->onNextItem();
    WindowFixture::settle(*controller);
    controller->exit();
    QCOMPARE(controller->newsCache().count(), 5U);
}

PELORIN_WIDGET_TEST_MAIN(LifecycleTest)
#include "LifecycleTest.moc"
