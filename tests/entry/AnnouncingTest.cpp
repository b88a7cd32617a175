// The process's notification centre under one application object after another. The application
// objects are created and destroyed inside the tests, so there is none outside.

#include "FakeNotificationServer.h"
#include "FeedServer.h"
#include "LoadedModule.h"
#include "TestMain.h"

#include <QSaveFile>
#include <QSettings>
#include <QTest>

#include <thread>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

int argumentCount = 1;
char programName[] = "test";
char *arguments[] = {programName, nullptr};

void serveOneItem(const QString &folder, const QString &title, const QDateTime &published) {
    const QString date = QLocale::c().toString(published.toUTC(),
                                               QStringLiteral("ddd, dd MMM yyyy HH:mm:ss '+0000'"));
    QSaveFile file(folder + QStringLiteral("/standard.en.xml"));
    const QString feed = QStringLiteral(
                             "<rss version=\"2.0\"><channel><language>en</language><item>"
                             "<title>%1</title><pubDate>%2</pubDate>"
                             "<category>mac pelorin</category></item></channel></rss>\n")
                             .arg(title, date);
    if (!file.open(QIODevice::WriteOnly) || file.write(feed.toUtf8()) < 0 || !file.commit())
        qFatal("the feed cannot be written");
}

}  // namespace

class AnnouncingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void thereIsNoCentreWithoutAnApplicationObjectOrOffItsThread();
    void aFailedInitMakesNoCentre();
    void everyApplicationObjectsPanelAnnounces();
};

void AnnouncingTest::thereIsNoCentreWithoutAnApplicationObjectOrOffItsThread() {
    QVERIFY(!module()->notificationCenter());
    const QApplication application(argumentCount, arguments);
    std::shared_ptr<NotificationCenter> center;
    std::thread([&] { center = module()->notificationCenter(); }).join();
    QVERIFY(!center);
    center = module()->notificationCenter();
    QVERIFY(center);
    QCOMPARE(module()->notificationCenter(), center);
}

void AnnouncingTest::aFailedInitMakesNoCentre() {
    // Not a QApplication, so `init` must fail.
    const QGuiApplication application(argumentCount, arguments);
    test::FakeNotificationServer server(
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("failed-init")));
    // A notification centre created before `setHostIdentity` would send this application name.
    QApplication::setApplicationName(QStringLiteral("Too early"));
    const auto failToInit = [] {
        Error error;
        QVERIFY(!module()->init(&error));
        QVERIFY(module()->init());
    };
    failToInit();
    std::thread(failToInit).join();

    QApplication::setApplicationName(QStringLiteral("In time"));
    module()->setHostIdentity(hostIdentity());
    UserNotification notification;
    notification.title = QStringLiteral("one");
    module()->notificationCenter()->deliverNotification(notification);
    QTRY_COMPARE(server.deliveries.size(), 1U);
    QCOMPARE(server.deliveries[0].applicationName, QStringLiteral("In time"));
    QCOMPARE(server.deliveries[0].hints.value(QStringLiteral("desktop-entry")).toString(),
             QStringLiteral("com.Olvane.Pelorin"));
}

void AnnouncingTest::everyApplicationObjectsPanelAnnounces() {
    const QTemporaryDir feeds;
    // Each application object gets a newer item than the previous one, newer also than any last
    // viewing that a panel in this process has stored.
    QDateTime published = QDateTime::currentDateTimeUtc();
    for (const QString &name : {QStringLiteral("First"), QStringLiteral("Second")}) {
        published = published.addDays(1);
        const QApplication application(argumentCount, arguments);
        QApplication::setApplicationName(name);
        module()->setHostIdentity(hostIdentity());
        test::FakeNotificationServer server(
            QDBusConnection::connectToBus(QDBusConnection::SessionBus, name));
        serveOneItem(feeds.path(), QStringLiteral("Item of ") + name, published);
        FeedServerOptions options;
        options.feedFolder = feeds.path();
        FeedServer feedServer(options);
        QVERIFY(feedServer.start());
        QSettings preferences(QStringLiteral("Olvane"), QStringLiteral("Pelorin"));
        preferences.setValue(QStringLiteral("newsFeedBaseURL"), feedServer.feedAddress());
        preferences.setValue(QStringLiteral("newsFeedLocale"), QStringLiteral("en"));
        preferences.setValue(QStringLiteral("newsShowOnStart"), false);
        preferences.sync();

        const auto controller = module()->init();
        QVERIFY(controller);
        QTRY_COMPARE(server.deliveries.size(), 1U);
        QCOMPARE(server.deliveries[0].applicationName, name);
        QCOMPARE(server.deliveries[0].body, QStringLiteral("Item of ") + name);
        // The localized text, not its key.
        QCOMPARE(server.deliveries[0].actions,
                 (QStringList{QStringLiteral("default"), QStringLiteral("Open")}));

        // A click on the notification opens the window under each application object.
        server.emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("default")});
        QTRY_COMPARE(server.closeCalls, QList<quint32>{1});
        QTRY_VERIFY(!QApplication::topLevelWidgets().isEmpty());
        controller->exit();
    }
}

PELORIN_APPLESS_TEST_MAIN(AnnouncingTest)
#include "AnnouncingTest.moc"
