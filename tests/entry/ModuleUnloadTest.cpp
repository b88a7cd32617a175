// A host that unloads the module while the module is busy. A library is unloaded only after all its
// loaders have released it, so this executable has only one test.

#include "FeedServer.h"
#include "LoadedModule.h"
#include "TestMain.h"

#include "pelorinnews/NewsPlugin.h"

#include <QApplication>
#include <QPluginLoader>

#include <dlfcn.h>

using namespace pelorinnews;

namespace {

const QString file = QStringLiteral(PELORIN_APP_DIR "/lib/pelorin/PelorinNews.so");

// Whether the module's library is loaded in this process; does not load it.
bool isLoaded() {
    void *const handle = ::dlopen(QFile::encodeName(file).constData(), RTLD_LAZY | RTLD_NOLOAD);
    if (!handle)
        return false;
    ::dlclose(handle);
    return true;
}

}  // namespace

class ModuleUnloadTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void staysUnderItsPanelWhenItIsUnloaded();
};

void ModuleUnloadTest::staysUnderItsPanelWhenItIsUnloaded() {
    FeedServer server;
    FeedReply slow;
    slow.delayBeforeHead = std::chrono::milliseconds(500);
    server.setReply(slow);
    QVERIFY(server.start());
    test::preferFeed(server.feedAddress());

    QVERIFY(!isLoaded());
    QPluginLoader loader(file);
    // Qt keeps plug-ins loaded unless it is told not to.
    loader.setLoadHints({});
    auto *plugin = qobject_cast<NewsPlugin *>(loader.instance());
    QVERIFY2(plugin, qPrintable(loader.errorString()));
    QVERIFY(isLoaded());
    plugin->setHostIdentity(test::hostIdentity());
    auto controller = plugin->init();
    QVERIFY(controller);
    QVERIFY(server.waitForRequests(1));

    QVERIFY(loader.unload());
    QVERIFY(isLoaded());
    // The module still works: its download completes, its window opens, and it stops.
    QTRY_COMPARE(server.openConnections(), 0);
    controller->show();
    QVERIFY(!QApplication::topLevelWidgets().isEmpty());
    controller->exit();
    controller.reset();
    QTRY_VERIFY(QApplication::topLevelWidgets().isEmpty());
}

PELORIN_WIDGET_TEST_MAIN(ModuleUnloadTest)
#include "ModuleUnloadTest.moc"
