#include "TestMain.h"
#include "feed/OlvNewsCacheItem.h"
#include "notifications/DesktopNotificationCenter.h"
#include "window/NewsAnnouncement.h"

#include <QTemporaryDir>
#include <QTest>

namespace pelorinnews::test {

/// Uses the real notification centre, but without a bus, so that delivered notifications stay in
/// its list.
class NewsAnnouncementTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void announcesTheLatestItem();
    void leavesAnAnnouncementOfTheSameDateAlone();
    void leavesALaterAnnouncementAlone();
    void replacesAnEarlierAnnouncement();
    void tellsDatesApartByTheMillisecond();
    void takesTheLatestDateOfSeveral_data();
    void takesTheLatestDateOfSeveral();
    void withdrawsAllOfItsOwn();
    void neverTouchesTheHostsNotifications_data();
    void neverTouchesTheHostsNotifications();
    void passesOverItsOwnWithoutADate();
    void announcesNothingWithoutADate();

private:
    [[nodiscard]] QStringList texts() const;
    void deliver(const QString &text, const QVariantMap &userInfo);

    QTemporaryDir _home;
    std::unique_ptr<DesktopNotificationCenter> _center;
};

namespace {

const QDateTime noon(QDate(2026, 3, 1), QTime(12, 0), Qt::UTC);
const QString mark = QStringLiteral("com.Olvane.PelorinNews.originator");

QVariantMap marked(const QDateTime &date) {
    return {{QStringLiteral("originatorName"), mark}, {QStringLiteral("originationDate"), date}};
}

std::unique_ptr<OlvNewsCacheItem> item(const QString &title, const QDateTime &date) {
    auto made = std::make_unique<OlvNewsCacheItem>();
    made->setTitle(title);
    made->setDate(date);
    return made;
}

}  // namespace

void NewsAnnouncementTest::init() {
    NotificationSender sender;
    sender.stateFolder = _home.filePath(QStringLiteral("state"));
    sender.busAddress = QStringLiteral("unix:path=/nonexistent/bus");
    _center = std::make_unique<DesktopNotificationCenter>(sender);
}

QStringList NewsAnnouncementTest::texts() const {
    QStringList list;
    const auto delivered = _center->deliveredNotifications();
    for (const UserNotification &each : delivered)
        list.append(each.informativeText);
    return list;
}

void NewsAnnouncementTest::deliver(const QString &text, const QVariantMap &userInfo) {
    UserNotification notification;
    notification.informativeText = text;
    notification.userInfo = userInfo;
    _center->deliverNotification(notification);
}

void NewsAnnouncementTest::announcesTheLatestItem() {
    QVERIFY(!NewsAnnouncement::notificationDate(*_center).isValid());
    NewsAnnouncement::announce(*_center, QStringLiteral("News"), *item(QStringLiteral("A"), noon));
    const auto delivered = _center->deliveredNotifications();
    QCOMPARE(delivered.size(), 1);
    QCOMPARE(delivered[0].title, QStringLiteral("News"));
    QCOMPARE(delivered[0].informativeText, QStringLiteral("A"));
    QCOMPARE(delivered[0].soundName, UserNotification::defaultSoundName());
    QCOMPARE(delivered[0].userInfo, marked(noon));
    QCOMPARE(NewsAnnouncement::notificationDate(*_center), noon);
}

void NewsAnnouncementTest::leavesAnAnnouncementOfTheSameDateAlone() {
    NewsAnnouncement::announce(*_center, QString(), *item(QStringLiteral("A"), noon));
    const auto before = _center->deliveredNotifications();
    NewsAnnouncement::announce(*_center, QString(), *item(QStringLiteral("B"), noon));
    QCOMPARE(_center->deliveredNotifications(), before);
}

void NewsAnnouncementTest::leavesALaterAnnouncementAlone() {
    NewsAnnouncement::announce(*_center, QString(), *item(QStringLiteral("A"), noon));
    NewsAnnouncement::announce(*_center, QString(), *item(QStringLiteral("B"), noon.addSecs(-1)));
    QCOMPARE(texts(), QStringList{QStringLiteral("A")});
}

void NewsAnnouncementTest::replacesAnEarlierAnnouncement() {
    NewsAnnouncement::announce(*_center, QString(), *item(QStringLiteral("A"), noon));
    NewsAnnouncement::announce(*_center, QString(), *item(QStringLiteral("B"), noon.addSecs(1)));
    QCOMPARE(texts(), QStringList{QStringLiteral("B")});
    QCOMPARE(NewsAnnouncement::notificationDate(*_center), noon.addSecs(1));
}

void NewsAnnouncementTest::tellsDatesApartByTheMillisecond() {
    NewsAnnouncement::announce(*_center, QString(), *item(QStringLiteral("A"), noon));
    NewsAnnouncement::announce(*_center, QString(), *item(QStringLiteral("B"), noon.addMSecs(1)));
    QCOMPARE(texts(), QStringList{QStringLiteral("B")});
    QCOMPARE(NewsAnnouncement::notificationDate(*_center), noon.addMSecs(1));
}

void NewsAnnouncementTest::takesTheLatestDateOfSeveral_data() {
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("second");
    QTest::newRow("rising") << 1 << 2;
    QTest::newRow("falling") << 2 << 1;
    QTest::newRow("equal") << 2 << 2;
}

void NewsAnnouncementTest::takesTheLatestDateOfSeveral() {
    QFETCH(int, first);
    QFETCH(int, second);
    deliver(QStringLiteral("1"), marked(noon.addSecs(first)));
    deliver(QStringLiteral("2"), marked(noon.addSecs(second)));
    QCOMPARE(NewsAnnouncement::notificationDate(*_center), noon.addSecs(2));
}

void NewsAnnouncementTest::withdrawsAllOfItsOwn() {
    deliver(QStringLiteral("1"), marked(noon));
    deliver(QStringLiteral("host"), {});
    deliver(QStringLiteral("2"), marked(noon.addSecs(1)));
    NewsAnnouncement::removeNotification(*_center);
    QCOMPARE(texts(), QStringList{QStringLiteral("host")});
}

void NewsAnnouncementTest::neverTouchesTheHostsNotifications_data() {
    QTest::addColumn<QVariantMap>("userInfo");
    const QString name = QStringLiteral("originatorName");
    const QVariantMap dated{{QStringLiteral("originationDate"), noon.addYears(1)}};
    const auto with = [&](const QVariant &value) {
        QVariantMap map = dated;
        map.insert(name, value);
        return map;
    };
    QTest::newRow("nothing") << QVariantMap();
    QTest::newRow("a date") << dated;
    QTest::newRow("another case") << with(mark.toUpper());
    QTest::newRow("longer") << with(QString(mark + QLatin1Char('s')));
    QTest::newRow("bytes") << with(mark.toUtf8());
    QTest::newRow("a list") << with(QStringList{mark});
    QTest::newRow("absent text") << with(QString());
}

void NewsAnnouncementTest::neverTouchesTheHostsNotifications() {
    QFETCH(QVariantMap, userInfo);
    deliver(QStringLiteral("host"), userInfo);
    QVERIFY(!NewsAnnouncement::notificationDate(*_center).isValid());
    NewsAnnouncement::announce(*_center, QString(), *item(QStringLiteral("A"), noon));
    NewsAnnouncement::announce(*_center, QString(), *item(QStringLiteral("B"), noon.addSecs(1)));
    NewsAnnouncement::removeNotification(*_center);
    QCOMPARE(texts(), QStringList{QStringLiteral("host")});
}

void NewsAnnouncementTest::passesOverItsOwnWithoutADate() {
    deliver(QStringLiteral("odd"), {{QStringLiteral("originatorName"), mark}});
    QVERIFY(!NewsAnnouncement::notificationDate(*_center).isValid());
    deliver(QStringLiteral("dated"), marked(noon));
    QCOMPARE(NewsAnnouncement::notificationDate(*_center), noon);
    NewsAnnouncement::removeNotification(*_center);
    QVERIFY(_center->deliveredNotifications().isEmpty());
}

void NewsAnnouncementTest::announcesNothingWithoutADate() {
    NewsAnnouncement::announce(*_center, QString(), *item(QStringLiteral("A"), QDateTime()));
    QVERIFY(_center->deliveredNotifications().isEmpty());
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::NewsAnnouncementTest)

#include "NewsAnnouncementTest.moc"
