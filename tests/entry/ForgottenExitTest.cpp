// A host that never calls `exit`. The panel then lives until the process ends, so this executable
// has only one test.

#include "FeedServer.h"
#include "LoadedModule.h"
#include "TestMain.h"

#include <QSettings>

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
    QSettings preferences(QStringLiteral("Olvane"), QStringLiteral("Pelorin"));
    preferences.setValue(QStringLiteral("newsFeedBaseURL"), server.feedAddress());
    preferences.setValue(QStringLiteral("newsShowOnStart"), false);
    preferences.sync();
    NewsPlugin *const plugin = test::module();
    plugin->setHostIdentity({QStringLiteral("com.Olvane.Pelorin"), QStringLiteral("Olvane"),
                             QStringLiteral("Pelorin")});

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
