// When the controller announces news, and when it withdraws the announcement.

#include "HeldFeed.h"
#include "RecordingLogger.h"
#include "TestMain.h"
#include "WindowTest.h"
#include "platform/OlvLocalization.h"

#include <QApplication>
#include <QDir>

using namespace pelorinnews;
using namespace pelorinnews::test;

class AnnouncementTest : public WindowTest {
    Q_OBJECT

private Q_SLOTS:
    void announcesTheLatestItemOfABackgroundRefresh();
    void announcesNothingThatWasViewed();
    void announcesNothingInAnotherLanguage();
    void announcesNothingWithoutADate();
    void announcesWhatTheLocalFileHoldsAndLogsWhyItCameToThat();
    void leavesAnAnnouncementOfTheSameItemAlone();
    void replacesTheAnnouncementOfAnOlderItem();
    void withdrawsAllWhenTheWindowOpens();
    void leavesTheHostsNotificationsAlone();
    void showsEveryNotificationOfTheProcess();
    void isTheDelegateOfTheNotificationCentre();
    void aClickOnAnyNotificationOpensTheWindow();
    void offWaylandAClicksTokenStaysOutOfTheEnvironment();
    void exitKeepsTheAnnouncementForOneCopyOnly_data();
    void exitKeepsTheAnnouncementForOneCopyOnly();
    void exitWithdrawsWhileTheSearchHasNotAnswered();
    void aSecondExitWithdraws();

private:
    [[nodiscard]] QList<UserNotification> delivered() const {
        return _fixture->services.notificationCenter->deliveredNotifications();
    }
    void deliverHostNotification() {
        UserNotification notification;
        notification.title = QStringLiteral("The host's own");
        _fixture->services.notificationCenter->deliverNotification(notification);
    }

    void prepare() override {
        _fixture->prefer(QStringLiteral("newsShowOnStart"), false);
        _fixture->serve(WindowFixture::items(3));
    }
};

void AnnouncementTest::announcesTheLatestItemOfABackgroundRefresh() {
    auto items = WindowFixture::items(3);
    std::swap(items[0], items[2]);
    _fixture->serve(items);
    const auto controller = _fixture->makeController();
    QCOMPARE(delivered().size(), 1);
    const UserNotification announced = delivered().value(0);
    QCOMPARE(announced.informativeText, QStringLiteral("Title 1"));
    OlvLocalization texts;
    texts.setBundle(QStringLiteral(PELORIN_APP_DIR "/share/pelorin-news"));
    texts.setTable(QStringLiteral("Localizable"));
    QCOMPARE(announced.title, texts.stringForKey(QStringLiteral("NotificationCenterTitle")));
    QVERIFY(announced.title != QStringLiteral("NotificationCenterTitle"));
    QCOMPARE(announced.soundName, UserNotification::defaultSoundName());
    QCOMPARE(announced.userInfo.size(), 2);
    QCOMPARE(announced.userInfo.value(QStringLiteral("originatorName")).toString(),
             QStringLiteral("com.Olvane.PelorinNews.originator"));
    QCOMPARE(announced.userInfo.value(QStringLiteral("originationDate")).toDateTime(),
             controller->newsCache().peekAtLatestItem()->date());
    QCOMPARE(controller->notificationDate(), controller->newsCache().peekAtLatestItem()->date());
}

void AnnouncementTest::announcesNothingThatWasViewed() {
    _fixture->prefer(QStringLiteral("newsLastViewing"), QDateTime::currentDateTimeUtc());
    const auto controller = _fixture->makeController();
    QVERIFY(delivered().isEmpty());
}

void AnnouncementTest::announcesNothingInAnotherLanguage() {
    _fixture->serve(WindowFixture::items(3), QStringLiteral("en-GB"));
    const auto controller = _fixture->makeController();
    QVERIFY(delivered().isEmpty());
}

void AnnouncementTest::announcesNothingWithoutADate() {
    auto items = WindowFixture::items(1);
    items[0].date = QDateTime();
    _fixture->serve(items);
    _fixture->prefer(QStringLiteral("newsFilter"), 1);
    const auto controller = _fixture->makeController();
    QVERIFY(delivered().isEmpty());
}

void AnnouncementTest::announcesWhatTheLocalFileHoldsAndLogsWhyItCameToThat() {
    _fixture->makeController()->exit();
    QVERIFY(delivered().isEmpty());
    _fixture->prefer(QStringLiteral("newsLastViewing"), QVariant());
    HeldFeed service;
    _fixture->prefer(QStringLiteral("newsFeedBaseURL"), service.address());
    const auto controller = _fixture->beginController();
    const auto logger = std::make_shared<RecordingLogger>();
    controller->setLogger(logger);
    QVERIFY(service.isAsked());
    QVERIFY(delivered().isEmpty());
    service.answer("", 503);
    WindowFixture::settle(*controller);
    const auto announced = delivered();
    controller->exit();
    QCOMPARE(announced.size(), 1);
    QCOMPARE(announced.first().informativeText, QStringLiteral("Title 1"));
    QCOMPARE(logger->entries().size(), 1);
    QCOMPARE(logger->entries().first().level, 1);
    QVERIFY(logger->entries().first().text.startsWith(
        QStringLiteral("News Window Controller - refreshContent received an error: ")));
    QVERIFY(logger->entries().first().text.contains(QStringLiteral("Code=503")));
}

void AnnouncementTest::leavesAnAnnouncementOfTheSameItemAlone() {
    const auto controller = _fixture->makeController();
    const auto before = delivered();
    controller->refreshCache();
    WindowFixture::settle(*controller);
    QCOMPARE(_fixture->server().requests().size(), 2U);
    QCOMPARE(delivered(), before);
}

void AnnouncementTest::replacesTheAnnouncementOfAnOlderItem() {
    const auto controller = _fixture->makeController();
    const QString before = delivered().value(0).identity;
    auto items = WindowFixture::items(3);
    items[1].date = QDateTime::currentDateTimeUtc().addSecs(-60);
    _fixture->serve(items);
    controller->refreshCache();
    WindowFixture::settle(*controller);
    QCOMPARE(delivered().size(), 1);
    QCOMPARE(delivered().value(0).informativeText, QStringLiteral("Title 2"));
    QVERIFY(delivered().value(0).identity != before);
}

void AnnouncementTest::withdrawsAllWhenTheWindowOpens() {
    const auto controller = _fixture->makeController();
    UserNotification another = delivered().value(0);
    _fixture->services.notificationCenter->deliverNotification(another);
    QCOMPARE(delivered().size(), 2);
    controller->showWindow();
    QTRY_VERIFY(delivered().isEmpty());
}

void AnnouncementTest::leavesTheHostsNotificationsAlone() {
    deliverHostNotification();
    const auto controller = _fixture->makeController();
    QCOMPARE(delivered().size(), 2);
    controller->showWindow();
    QTRY_COMPARE(delivered().size(), 1);
    controller->exit();
    QCOMPARE(delivered().value(0).title, QStringLiteral("The host's own"));
}

void AnnouncementTest::showsEveryNotificationOfTheProcess() {
    const auto controller = _fixture->makeController();
    QVERIFY(controller->userNotificationCenterShouldPresentNotification(UserNotification()));
}

void AnnouncementTest::isTheDelegateOfTheNotificationCentre() {
    class Centre : public NotificationCenter {
    public:
        std::weak_ptr<NotificationCenterDelegate> delegate;
        void deliverNotification(const UserNotification &) override {}
        QList<UserNotification> deliveredNotifications() const override { return {}; }
        void removeDeliveredNotification(const UserNotification &) override {}
        void setDelegate(std::weak_ptr<NotificationCenterDelegate> newDelegate) override {
            delegate = std::move(newDelegate);
        }
        bool flush(std::chrono::milliseconds) override { return true; }
    };
    const auto centre = std::make_shared<Centre>();
    _fixture->services.notificationCenter = centre;
    const auto controller = _fixture->makeController();
    QCOMPARE(centre->delegate.lock().get(),
             static_cast<NotificationCenterDelegate *>(controller.get()));
    centre->delegate.lock()->userNotificationCenterDidActivateNotification({});
    QVERIFY(controller->window()->isVisible());
}

void AnnouncementTest::aClickOnAnyNotificationOpensTheWindow() {
    const auto controller = _fixture->makeController();
    QCOMPARE(delivered().size(), 1);
    UserNotification clicked;
    clicked.title = QStringLiteral("The host's own");
    controller->userNotificationCenterDidActivateNotification(clicked);
    QVERIFY(controller->window()->isVisible());
    QVERIFY(delivered().isEmpty());
}

// Only Qt's code for Wayland windows reads the activation token from the environment.
void AnnouncementTest::offWaylandAClicksTokenStaysOutOfTheEnvironment() {
    class Watcher : public QObject {
    public:
        QList<QByteArray> seen;
        bool eventFilter(QObject *, QEvent *event) override {
            if (event->type() == QEvent::Show)
                seen.append(qgetenv("XDG_ACTIVATION_TOKEN"));
            return false;
        }
    } watcher;
    const auto controller = _fixture->makeController();
    controller->window()->installEventFilter(&watcher);
    UserNotification clicked;
    clicked.activationToken = QStringLiteral("token-1");
    qputenv("XDG_ACTIVATION_TOKEN", "the host's own");
    controller->userNotificationCenterDidActivateNotification(clicked);
    const QByteArray after = qgetenv("XDG_ACTIVATION_TOKEN");
    qunsetenv("XDG_ACTIVATION_TOKEN");
    QCOMPARE(watcher.seen, QList<QByteArray>{"the host's own"});
    QCOMPARE(after, QByteArray("the host's own"));
}

void AnnouncementTest::exitKeepsTheAnnouncementForOneCopyOnly_data() {
    QTest::addColumn<int>("copies");
    QTest::addColumn<int>("left");
    QTest::newRow("none") << 0 << 0;
    QTest::newRow("one") << 1 << 1;
    QTest::newRow("two") << 2 << 0;
}

void AnnouncementTest::exitKeepsTheAnnouncementForOneCopyOnly() {
    QFETCH(const int, copies);
    QFETCH(const int, left);
    for (int copy = 0; copy < copies; ++copy)
        QVERIFY(QDir(_fixture->applications()).mkpath(QStringLiteral("%1/Pelorin.app").arg(copy)));
    const auto standardFinder = _fixture->services.makeFinder;
    std::weak_ptr<OlvPelorinFinder> finder;
    _fixture->services.makeFinder = [&finder, &standardFinder] {
        auto made = standardFinder();
        finder = made;
        return made;
    };
    const auto controller = _fixture->makeController();
    const auto hasAnswered = [&finder] {
        const auto searching = finder.lock();
        return searching && searching->result() != OlvFinderResultPending;
    };
    QTRY_VERIFY(hasAnswered());
    QCOMPARE(delivered().size(), 1);
    controller->exit();
    QCOMPARE(delivered().size(), left);
    QTRY_VERIFY(finder.expired());
}

void AnnouncementTest::exitWithdrawsWhileTheSearchHasNotAnswered() {
    QVERIFY(QDir(_fixture->applications()).mkpath(QStringLiteral("Pelorin.app")));
    // The main loop, which would start the search for copies of the host, does not run between the
    // controller's creation and `exit`. The feed is empty, so that the refresh at creation
    // announces nothing.
    _fixture->serve({});
    UserNotification announced;
    announced.userInfo = {
        {QStringLiteral("originatorName"), QStringLiteral("com.Olvane.PelorinNews.originator")},
        {QStringLiteral("originationDate"), QDateTime::currentDateTimeUtc()}};
    _fixture->services.notificationCenter->deliverNotification(announced);
    const auto controller = _fixture->beginController();
    controller->exit();
    QVERIFY(delivered().isEmpty());
    WindowFixture::settle(*controller);
}

void AnnouncementTest::aSecondExitWithdraws() {
    QVERIFY(QDir(_fixture->applications()).mkpath(QStringLiteral("Pelorin.app")));
    std::shared_ptr<OlvPelorinFinder> finder;
    const auto standardFinder = _fixture->services.makeFinder;
    _fixture->services.makeFinder = [&finder, &standardFinder] {
        return finder = standardFinder();
    };
    const auto controller = _fixture->makeController();
    const auto foundOne = [&finder] { return finder && finder->result() == OlvFinderResultOne; };
    QTRY_VERIFY(foundOne());
    controller->exit();
    QCOMPARE(delivered().size(), 1);
    controller->exit();
    QVERIFY(delivered().isEmpty());
}

PELORIN_WIDGET_TEST_MAIN(AnnouncementTest)
#include "AnnouncementTest.moc"
