// A host that destroys its application object and creates another one, with the shipped module.

#include "LoadedModule.h"
#include "OneItemFeed.h"
#include "TestHome.h"

#include <QAccessible>
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
    /// Creates an application object, shows the panel until the web engine has painted its page,
    /// closes the panel, and destroys the panel and the application object.
    void show();
    /// Whether something dark is painted in the upper part of the window, where the page begins.
    [[nodiscard]] static bool showsText();

    FeedServer _server;
};

bool SecondApplicationTest::showsText() {
    const QImage image = newsWindow()->grab({0, 0, 300, 100}).toImage();
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixelColor(x, y).lightness() < 100)
                return true;
    return false;
}

void SecondApplicationTest::show() {
    const QApplication application(argc, argv);
    NewsPlugin *const plugin = module();
    plugin->setHostIdentity(hostIdentity());
    _server.clearRequests();
    const auto controller = plugin->init();
    QVERIFY(controller);
    QVERIFY(_server.waitForRequests(1, std::chrono::milliseconds(testPatience)));
    controller->show();
    QTRY_VERIFY(newsWindow() && newsWindow()->isVisible());
    QCOMPARE(QAccessible::queryAccessibleInterface(newsWindow())->role(), QAccessible::Window);
    QTRY_VERIFY(showsText());
    QVERIFY(!newsWindow()->findChild<QTextBrowser *>());
    controller->exit();
}

void SecondApplicationTest::showsItsNewsUnderEachApplication() {
    QVERIFY(_server.start());
    serveOneItemFeed(_server);
    preferFeed(_server.feedAddress());

    for (int application = 0; application < 3; ++application) {
        show();
        QVERIFY(!QTest::currentTestFailed());
    }
}

int main(int argc, char *argv[]) {
    const TestHome home;
    SecondApplicationTest test;
    test.argv = argv;
    return QTest::qExec(&test, argc, argv);
}
#include "SecondApplicationTest.moc"
