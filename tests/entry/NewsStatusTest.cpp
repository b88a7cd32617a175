// `NewsStatus`, used as a host uses it for a badge and a menu entry.

#include "FeedServer.h"
#include "LoadedModule.h"
#include "TestMain.h"

#include "pelorinnews/NewsStatus.h"

#include <QAction>
#include <QStandardPaths>
#include <QThread>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

// Two news items; the second one of the feed is the later one.
FeedReply twoItems() {
    FeedReply reply;
    reply.body =
        "<rss version=\"2.0\"><channel><language>en</language>"
        "<item><title>Older</title><pubDate>Mon, 01 Jun 2026 10:00:00 +0000</pubDate>"
        "<category>mac pelorin</category><description>1</description></item>"
        "<item><title>Later</title><pubDate>Tue, 02 Jun 2026 10:00:00 +0000</pubDate>"
        "<category>mac pelorin</category><description>2</description></item>"
        "</channel></rss>";
    return reply;
}

// A controller of a module that has no `NewsStatus`.
class PlainController : public NewsController {
public:
    void show() override {}
    void exit() override {}
    void setLogger(std::shared_ptr<OlvLogger>) override {}
    void setDelegate(std::shared_ptr<void>) override {}
};

}  // namespace

class NewsStatusTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void isAbsentWhereTheModuleHasNone();
    void isEmptyBeforeTheFirstRefreshHasEnded();
    void tellsWhatARefreshBrought();
    void readingMarksNothingAsViewed();
    void tellsWhyARefreshFailed();
    void keepsTheItemsWhenARefreshFails();
    void servesABadgeAndAMenuEntryAsTheHostsPageShows();
    void callsBackLaterOnTheMainThread();
    void callsBackWhenTheUserHasSeenTheNews();
    void doesNotCallBackOnceItIsSwitchedOff();
    void doesNotCallBackOnceTheControllerIsReleased();
    void theCallbackMayReplaceItself();
    void aRefreshWaitsUntilTheWindowIsClosed();
    void refreshesNothingAfterExit();

private:
    /// Creates the panel; its first refresh has ended when this returns.
    void create();

    NewsPlugin *_plugin = nullptr;
    std::unique_ptr<FeedServer> _server;
    std::shared_ptr<NewsController> _controller;
    NewsStatus *_status = nullptr;
};

void NewsStatusTest::initTestCase() {
    _plugin = module();
    _plugin->setHostIdentity(hostIdentity());
}

void NewsStatusTest::init() {
    QSettings(hostIdentity().organizationName, hostIdentity().applicationName).clear();
    _server = std::make_unique<FeedServer>();
    QVERIFY(_server->start());
    _server->setReply(twoItems());
    preferFeed(_server->feedAddress());
}

void NewsStatusTest::cleanup() {
    if (_controller)
        _controller->exit();
    _status = nullptr;
    _controller.reset();
    _server.reset();
    QCoreApplication::processEvents();
}

void NewsStatusTest::create() {
    _controller = _plugin->init();
    _status = newsStatus(_controller);
    QVERIFY(_status);
    QTRY_VERIFY(_status->lastRefresh());
}

void NewsStatusTest::isAbsentWhereTheModuleHasNone() {
    QVERIFY(!newsStatus(nullptr));
    QVERIFY(!newsStatus(std::make_shared<PlainController>()));
}

void NewsStatusTest::isEmptyBeforeTheFirstRefreshHasEnded() {
    FeedReply never = twoItems();
    never.stallAfter = 0;
    _server->setReply(never);
    _controller = _plugin->init();
    _status = newsStatus(_controller);
    QVERIFY(_status);
    QVERIFY(_server->waitForRequests(1));
    QCOMPARE(_status->unreadCount(), 0);
    QVERIFY(!_status->latestItem());
    QVERIFY(!_status->lastRefresh());
}

void NewsStatusTest::tellsWhatARefreshBrought() {
    const QDateTime before = QDateTime::currentDateTimeUtc();
    create();
    QCOMPARE(_status->unreadCount(), 2);
    QVERIFY(_status->latestItem());
    QCOMPARE(_status->latestItem()->title, QStringLiteral("Later"));
    QCOMPARE(_status->latestItem()->date, QDateTime({2026, 6, 2}, {10, 0}, Qt::UTC));
    QVERIFY(_status->lastRefresh()->time >= before);
    QVERIFY(_status->lastRefresh()->time <= QDateTime::currentDateTimeUtc());
    QVERIFY(!_status->lastRefresh()->error);
}

void NewsStatusTest::readingMarksNothingAsViewed() {
    create();
    for (int i = 0; i < 2; ++i) {
        static_cast<void>(_status->latestItem());
        QCOMPARE(_status->unreadCount(), 2);
    }
    _controller->exit();
    _controller.reset();
    create();
    QCOMPARE(_status->unreadCount(), 2);
}

void NewsStatusTest::tellsWhyARefreshFailed() {
    FeedReply missing;
    missing.status = 404;
    _server->setReply(missing);
    QFile::remove(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                  QStringLiteral("/com.Olvane.Pelorin/PelorinNews.xml"));
    create();
    QVERIFY(_status->lastRefresh()->error);
    QCOMPARE(_status->lastRefresh()->error->domain, QStringLiteral("HTTP Property Status Code"));
    QCOMPARE(_status->lastRefresh()->error->code, 404);
    QCOMPARE(_status->unreadCount(), 0);
    QVERIFY(!_status->latestItem());
}

void NewsStatusTest::keepsTheItemsWhenARefreshFails() {
    create();
    const QDateTime first = _status->lastRefresh()->time;
    FeedReply missing;
    missing.status = 503;
    _server->setReply(missing);
    _status->refreshNow();
    QTRY_VERIFY(_status->lastRefresh()->error);
    QCOMPARE(_status->lastRefresh()->error->code, 503);
    QVERIFY(_status->lastRefresh()->time >= first);
    QCOMPARE(_status->unreadCount(), 2);

    _server->setReply(twoItems());
    _status->refreshNow();
    QTRY_VERIFY(!_status->lastRefresh()->error);
}

void NewsStatusTest::servesABadgeAndAMenuEntryAsTheHostsPageShows() {
    struct Badge {
        void setNumber(qint64 number) { shown = number; }
        qint64 shown = -1;
    };
    const auto badge = std::make_shared<Badge>();
    const auto action = new QAction(this);
    create();
    const std::shared_ptr<NewsController> news = _controller;
    {
#include "status-example.inc"
    }
    const auto before = _server->requests().size();
    action->trigger();
    QTRY_COMPARE(badge->shown, 2);
    QCOMPARE(_server->requests().size(), before + 1);
}

void NewsStatusTest::callsBackLaterOnTheMainThread() {
    // Without an address, the refresh ends before `refreshNow` returns.
    preferFeed(QString());
    create();
    int calls = 0;
    QThread *thread = nullptr;
    _status->setChangeCallback([&] {
        ++calls;
        thread = QThread::currentThread();
    });
    _status->refreshNow();
    QCOMPARE(calls, 0);
    QTRY_COMPARE(calls, 1);
    QCOMPARE(thread, qApp->thread());
}

void NewsStatusTest::callsBackWhenTheUserHasSeenTheNews() {
    create();
    qint64 unread = -1;
    _status->setChangeCallback([&] { unread = _status->unreadCount(); });
    _controller->show();
    // The panel shows the older item first, then counts it as viewed.
    QTRY_COMPARE(unread, 1);
    newsWindow()->close();
    QTRY_COMPARE(unread, 0);
}

void NewsStatusTest::doesNotCallBackOnceItIsSwitchedOff() {
    create();
    int first = 0;
    int second = 0;
    _status->setChangeCallback([&] { ++first; });
    _controller->show();
    QTRY_VERIFY(first > 0);
    QCoreApplication::processEvents();
    first = 0;
    newsWindow()->close();
    // The call is posted by now.
    _status->setChangeCallback({});
    QCoreApplication::processEvents();
    QCOMPARE(first, 0);
    _status->setChangeCallback([&] { ++second; });
    _status->refreshNow();
    QTRY_COMPARE(second, 1);
    QCOMPARE(first, 0);
}

void NewsStatusTest::doesNotCallBackOnceTheControllerIsReleased() {
    create();
    int calls = 0;
    _status->setChangeCallback([&] { ++calls; });
    _controller->show();
    QTRY_VERIFY(calls > 0);
    _controller->exit();
    calls = 0;
    _controller.reset();
    QCoreApplication::processEvents();
    QCOMPARE(calls, 0);
}

void NewsStatusTest::theCallbackMayReplaceItself() {
    create();
    QStringList called;
    _status->setChangeCallback([&] {
        called += QStringLiteral("first");
        _status->setChangeCallback([&] { called += QStringLiteral("second"); });
        called += QStringLiteral("still first");
    });
    _status->refreshNow();
    QTRY_COMPARE(called.size(), 2);
    _status->refreshNow();
    QTRY_COMPARE(called, (QStringList{QStringLiteral("first"), QStringLiteral("still first"),
                                      QStringLiteral("second")}));
}

void NewsStatusTest::aRefreshWaitsUntilTheWindowIsClosed() {
    create();
    _controller->show();
    QTRY_COMPARE(_status->unreadCount(), 1);
    _server->clearRequests();
    const QDateTime before = _status->lastRefresh()->time;
    _status->refreshNow();
    _status->refreshNow();
    QCoreApplication::processEvents();
    QCOMPARE(_status->lastRefresh()->time, before);
    newsWindow()->close();
    QTRY_VERIFY(_status->lastRefresh()->time != before);
    QCOMPARE(_server->requests().size(), 1U);
}

void NewsStatusTest::refreshesNothingAfterExit() {
    preferFeed(QString());
    create();
    const QDateTime before = _status->lastRefresh()->time;
    _controller->exit();
    QTest::qWait(2);
    _status->refreshNow();
    QCOMPARE(_status->lastRefresh()->time, before);
}

PELORIN_WIDGET_TEST_MAIN(NewsStatusTest)
#include "NewsStatusTest.moc"
