// A host that destroys its application object and creates another one, with the shipped module.

#include "FeedServer.h"
#include "FeedTemplate.h"
#include "TestHome.h"

#include "pelorinnews/NewsPlugin.h"

#include <QAccessible>
#include <QApplication>
#include <QDateTime>
#include <QPluginLoader>
#include <QSettings>
#include <QTest>
#include <QTextBrowser>

using namespace pelorinnews;

namespace {

const QByteArray feed =
    "<rss version=\"2.0\"><channel><language>en</language><item><title>News</title>"
    "<pubDate>{{now-1h}}</pubDate><category>mac pelorin</category>"
    "<comments>News of today</comments>"
    "<description><![CDATA[<p>News of today</p>]]></description></item></channel></rss>";

QWidget *newsWindow() {
    const auto windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        if (QLatin1String(window->metaObject()->className()).contains(QLatin1String("NewsWindow")))
            return window;
    }
    return nullptr;
}

}  // namespace

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
    QPluginLoader loader(QStringLiteral(PELORIN_APP_DIR "/lib/pelorin/PelorinNews.so"));
    auto *plugin = qobject_cast<NewsPlugin *>(loader.instance());
    QVERIFY2(plugin, qPrintable(loader.errorString()));
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
    reply.body = FeedTemplate::render(feed, QStringLiteral("en"), QDateTime::currentDateTimeUtc());
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
    const pelorinnews::test::TestHome home;
    SecondApplicationTest test;
    test.argv = argv;
    return QTest::qExec(&test, argc, argv);
}
#include "SecondApplicationTest.moc"
