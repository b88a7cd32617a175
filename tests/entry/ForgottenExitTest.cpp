// A host that never calls `exit`. The panel then lives until the process ends, so this executable
// has only one test.

#include "FeedServer.h"
#include "LoadedModule.h"
#include "TestMain.h"

#include <algorithm>

using namespace pelorinnews;

class ForgottenExitTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theProcessEndsNevertheless();
};

void ForgottenExitTest::theProcessEndsNevertheless() {
    FeedServer server;
    QVERIFY(server.start());
    test::preferFeed(server.feedAddress());
    NewsPlugin *const plugin = test::module();
    plugin->setHostIdentity(test::hostIdentity());

    // From here on, only the refresh timer keeps the window controller alive.
    plugin->init()->show();
    QVERIFY(server.waitForRequests(1));
    const auto windows = QApplication::topLevelWidgets();
    QVERIFY(std::any_of(windows.begin(), windows.end(), [](const QWidget *window) {
        return window->isVisible() && window->windowTitle() == QLatin1String("Pelorin News");
    }));
}

PELORIN_WIDGET_TEST_MAIN(ForgottenExitTest)
#include "ForgottenExitTest.moc"
