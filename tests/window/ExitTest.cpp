// What the host's `exit` closes, stores and releases.

#include "HeldFeed.h"
#include "TestMain.h"
#include "WindowTest.h"

#include <QApplication>
#include <QFile>

#include <thread>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

// Records whether a news window was created during this object's lifetime, even if the window no
// longer exists.
class MadeWindows : public QObject {
public:
    MadeWindows() { qApp->installEventFilter(this); }
    bool any = false;

    bool eventFilter(QObject *watched, QEvent *) override {
        any = any || qobject_cast<OlvNewsWindow *>(watched);
        return false;
    }
};

}  // namespace

class ExitTest : public WindowTest {
    Q_OBJECT

private Q_SLOTS:
    void exitClosesTheWindowAndStartsTheOwedRefresh();
    void exitClosesAWindowThatHasNotBecomeKeyYet();
    void exitStoresTheLastViewing();
    void closingStoresNothingYet();
    void whatStoodInTheListAtExitIsViewed();
    void exitTwiceIsHarmless();
    void exitReleasesTheController();
    void aRefreshUnderWayKeepsTheController_data();
    void aRefreshUnderWayKeepsTheController();
    void newsThatComeAfterExitOpenTheWindowOnlyOfAControllerThatIsHeld_data();
    void newsThatComeAfterExitOpenTheWindowOnlyOfAControllerThatIsHeld();
    void isDestroyedOnTheMainThreadWhoeverLetsGoLast();

private:
    /// News whose latest item is not shown first.
    static QList<FeedItem> latestLast() {
        auto items = WindowFixture::items(5);
        std::swap(items[0], items[4]);
        return items;
    }
    static qint64 storedLastViewing() {
        return OlvNewsConfiguration().lastViewing().toSecsSinceEpoch();
    }

    void prepare() override { _fixture->serve(WindowFixture::items(5)); }
};

void ExitTest::exitClosesTheWindowAndStartsTheOwedRefresh() {
    const auto controller = _fixture->makeController();
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 5"));
    controller->onRefreshTimerFire();
    controller->exit();
    QVERIFY(!WindowFixture::isShown());
    QVERIFY(_fixture->server().waitForRequests(2));
    WindowFixture::settle(*controller);
}

void ExitTest::exitClosesAWindowThatHasNotBecomeKeyYet() {
    _fixture->prefer(QStringLiteral("newsShowOnStart"), false);
    _fixture->serve(latestLast());
    const auto controller = _fixture->makeController();
    controller->showWindow();
    QVERIFY(WindowFixture::isShown());
    QCOMPARE(controller->itemIndicator()->text(), QString());
    controller->exit();
    QVERIFY(!WindowFixture::isShown());
    QCOMPARE(controller->newsCache().sinceLastViewingCount(), 0);
    QCOMPARE(storedLastViewing(),
             controller->newsCache().itemAtIndex(4)->date().toSecsSinceEpoch());
}

void ExitTest::exitStoresTheLastViewing() {
    _fixture->prefer(QStringLiteral("newsShowOnStart"), false);
    const auto controller = _fixture->makeController();
    const QDateTime date = QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC);
    controller->newsCache().setLastViewing(date);
    QVERIFY(OlvNewsConfiguration().lastViewing() != date);
    controller->exit();
    QCOMPARE(OlvNewsConfiguration().lastViewing().toUTC(), date);
}

void ExitTest::closingStoresNothingYet() {
    const auto controller = _fixture->makeController();
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 5"));
    const qint64 before = storedLastViewing();
    controller->window()->performClose();
    const qint64 viewed = controller->newsCache().lastViewing().toSecsSinceEpoch();
    QVERIFY(viewed != before);
    QCOMPARE(storedLastViewing(), before);
    controller->exit();
    QCOMPARE(storedLastViewing(), viewed);
}

void ExitTest::whatStoodInTheListAtExitIsViewed() {
    const auto items = latestLast();
    _fixture->serve(items);
    const auto controller = _fixture->makeController();
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 5"));
    QVERIFY(controller->newsCache().sinceLastViewingCount() > 0);
    controller->exit();
    QVERIFY(!WindowFixture::isShown());
    QCOMPARE(controller->newsCache().sinceLastViewingCount(), 0);
    QCOMPARE(storedLastViewing(), items[4].date.toSecsSinceEpoch());
}

void ExitTest::exitTwiceIsHarmless() {
    const auto controller = _fixture->makeController();
    controller->exit();
    controller->exit();
    controller->showWindow();
    QTRY_VERIFY(WindowFixture::isShown());
}

void ExitTest::exitReleasesTheController() {
    _fixture->prefer(QStringLiteral("newsShowOnStart"), false);
    auto controller = _fixture->beginController();
    WindowFixture::settle(*controller);
    QPointer<OlvNewsWindowController> watched = controller.get();
    QVERIFY(controller->window());
    controller.reset();
    QVERIFY(watched);  // kept alive by the refresh timer
    watched->weak_from_this().lock()->exit();
    QTRY_VERIFY(!watched);
    QVERIFY(!WindowFixture::isShown());
}

void ExitTest::aRefreshUnderWayKeepsTheController_data() {
    QTest::addColumn<bool>("showOnStart");
    QTest::addColumn<int>("status");
    QTest::newRow("that may announce") << false << 200;
    QTest::newRow("that may announce, and fails") << false << 500;
    QTest::newRow("that may open the window") << true << 200;
    QTest::newRow("that may open the window, and fails") << true << 500;
}

void ExitTest::aRefreshUnderWayKeepsTheController() {
    QFETCH(const bool, showOnStart);
    QFETCH(const int, status);
    HeldFeed service;
    _fixture->prefer(QStringLiteral("newsFeedBaseURL"), service.address());
    _fixture->prefer(QStringLiteral("newsShowOnStart"), showOnStart);
    auto controller = _fixture->beginController();
    QVERIFY(service.isAsked());
    const QPointer<OlvNewsWindowController> watched = controller.get();
    controller->exit();
    controller.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(watched);
    service.answer("<rss><channel><language>en</language></channel></rss>", status);
    QTRY_VERIFY(!watched);
    QVERIFY(!WindowFixture::isShown());
}

void ExitTest::newsThatComeAfterExitOpenTheWindowOnlyOfAControllerThatIsHeld_data() {
    QTest::addColumn<bool>("exits");
    QTest::addColumn<bool>("held");
    QTest::addColumn<bool>("opens");
    QTest::newRow("no exit, held") << false << true << true;
    QTest::newRow("no exit, released: its timer goes on") << false << false << true;
    QTest::newRow("exit, held") << true << true << true;
    QTest::newRow("exit, released") << true << false << false;
}

void ExitTest::newsThatComeAfterExitOpenTheWindowOnlyOfAControllerThatIsHeld() {
    QFETCH(const bool, exits);
    QFETCH(const bool, held);
    QFile feed(_fixture->feedFile(QStringLiteral("standard.en-US.xml")));
    QVERIFY(feed.open(QFile::ReadOnly));
    const QByteArray news = feed.readAll();
    HeldFeed service;
    _fixture->prefer(QStringLiteral("newsFeedBaseURL"), service.address());
    const MadeWindows made;
    auto controller = _fixture->beginController();
    QVERIFY(service.isAsked());
    const QPointer<OlvNewsWindowController> watched = controller.get();
    // A second refresh keeps the controller alive after the first one, so that the test can examine
    // it. It neither opens nor closes the window.
    controller->refreshCache();
    if (exits)
        controller->exit();
    if (!held)
        controller.reset();
    service.answer(news);
    QVERIFY(watched);
    WindowFixture::settle(*watched);
    QCOMPARE(watched->newsCache().unfilteredCount(), 5U);
    QTEST(made.any, "opens");
    QTEST(WindowFixture::isShown(), "opens");

    QVERIFY(service.isAsked());
    service.answer(news);
    if (!exits)
        watched->exit();
    controller.reset();
    QTRY_VERIFY(!watched);
}

void ExitTest::isDestroyedOnTheMainThreadWhoeverLetsGoLast() {
    _fixture->prefer(QStringLiteral("newsShowOnStart"), false);
    auto controller = _fixture->beginController();
    WindowFixture::settle(*controller);
    QThread *destroyedOn = nullptr;
    connect(
        controller.get(), &QObject::destroyed, this,
        [&destroyedOn] { destroyedOn = QThread::currentThread(); }, Qt::DirectConnection);
    controller->exit();
    std::thread([last = std::move(controller)]() mutable { last.reset(); }).join();
    QTRY_VERIFY(destroyedOn);
    QCOMPARE(destroyedOn, QThread::currentThread());
}

PELORIN_WIDGET_TEST_MAIN(ExitTest)
#include "ExitTest.moc"
