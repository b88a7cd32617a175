// A host that destroys its application object and creates another one, with the shipped module.

#include "FeedItem.h"
#include "FeedServer.h"
#include "FeedTemplate.h"
#include "LoadedModule.h"
#include "TestHome.h"

#include <QAccessible>
#include <QDateTime>
#include <QSettings>
#include <QTest>
#include <QTextBrowser>

using namespace pelorinnews;
using namespace pelorinnews::test;

class SecondApplicationTest : public QObject {
    Q_OBJECT

public:
    int argc = 1;
    char **argv = nullptr;

private Q_SLOTS:
    void showsItsNewsUnderEachApplication();

private:
    /// Creates an application object, shows the panel, closes it, and destroys both. Sets
    /// `*isWeb` to true if the panel used the web engine, else to false.
    void show(bool *isWeb);

    FeedServer _server;
};

void SecondApplicationTest::show(bool *isWeb) {
    const QApplication application(argc, argv);
    NewsPlugin *const plugin = module();
    plugin->setHostIdentity({QStringLiteral("com.Olvane.Pelorin"), QStringLiteral("Olvane"),
                             QStringLiteral("Pelorin")});
    _server.clearRequests();
    const auto controller = plugin->init();
    QVERIFY(controller);
    QVERIFY(_server.waitForRequests(1, std::chrono::milliseconds(testPatience)));
    controller->show();
    QTRY_VERIFY(newsWindow() && newsWindow()->isVisible());
    QCOMPARE(QAccessible::queryAccessibleInterface(newsWindow())->role(), QAccessible::Window);
    *isWeb = !newsWindow()->findChild<QTextBrowser *>();
    QVERIFY(QTest::qWaitForWindowExposed(newsWindow(), testPatience));
    controller->exit();
}

void SecondApplicationTest::showsItsNewsUnderEachApplication() {
    QVERIFY(_server.start());
    FeedReply reply;
    reply.body =
        FeedTemplate::render(oneItemFeed, QStringLiteral("en"), QDateTime::currentDateTimeUtc());
    _server.setReply(reply);
    QSettings preferences(QStringLiteral("Olvane"), QStringLiteral("Pelorin"));
    preferences.setValue(QStringLiteral("newsFeedBaseURL"), _server.feedAddress());
    preferences.setValue(QStringLiteral("newsShowOnStart"), false);
    preferences.sync();

    bool isWeb = false;
    show(&isWeb);
    QVERIFY(!QTest::currentTestFailed());
    QVERIFY(isWeb);
    // The web engine ended with the first application object, so later panels use the text
    // renderer.
    for (int further = 0; further < 2; ++further) {
        show(&isWeb);
        QVERIFY(!QTest::currentTestFailed());
        QVERIFY(!isWeb);
    }
}

int main(int argc, char *argv[]) {
    const TestHome home;
    SecondApplicationTest test;
    test.argv = argv;
    return QTest::qExec(&test, argc, argv);
}
#include "SecondApplicationTest.moc"
