// A host that ends the panel at any moment of the page process's life: nothing of it stays.

#include "LoadedModule.h"
#include "OneItemFeed.h"
#include "TestMain.h"

#include <QDir>
#include <QScopeGuard>
#include <QSet>

#include <unistd.h>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

// The fields of /proc/<pid>/stat after the name, from the state on.
QList<QByteArray> statusOf(const QString &process) {
    QFile file(QStringLiteral("/proc/%1/stat").arg(process));
    const QByteArray line = file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    return line.mid(line.lastIndexOf(')') + 2).split(' ');
}

// The sessions of this process's children: each page process has one of its own, which the engine's
// further processes share.
QSet<QByteArray> sessionsOfChildren() {
    QSet<QByteArray> sessions;
    const QStringList processes = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString &process : processes) {
        const QList<QByteArray> status = statusOf(process);
        if (status.value(1).toLongLong() == ::getpid())
            sessions.insert(status.value(3));
    }
    return sessions;
}

// The children of this process, and the processes of these sessions that have not ended. (One that
// has ended may wait for the system to collect it.)
QStringList processesOf(const QSet<QByteArray> &sessions) {
    QStringList found;
    const QStringList processes = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString &process : processes) {
        const QList<QByteArray> status = statusOf(process);
        const bool isRunning = status.value(0) != "Z" && sessions.contains(status.value(3));
        if (isRunning || status.value(1).toLongLong() == ::getpid())
            found.append(process);
    }
    return found;
}

}  // namespace

class PageProcessExitTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void endsEverythingAtAnyMoment_data();
    void endsEverythingAtAnyMoment();

private:
    FeedServer _server;
};

void PageProcessExitTest::initTestCase() {
    QVERIFY(_server.start());
    serveOneItemFeed(_server);
    preferFeed(_server.feedAddress());
}

void PageProcessExitTest::endsEverythingAtAnyMoment_data() {
    QTest::addColumn<int>("milliseconds");
    QTest::addColumn<int>("panels");
    QTest::addColumn<bool>("unloadsFirst");
    // The page process needs some hundred milliseconds until the page is painted.
    for (const int milliseconds :
         {0, 2, 5, 10, 20, 30, 45, 60, 80, 100, 125, 150, 175, 200, 250, 300, 400, 600}) {
        QTest::addRow("exit after %d ms", milliseconds) << milliseconds << 1 << false;
        QTest::addRow("two panels, unloaded, after %d ms", milliseconds)
            << milliseconds << 2 << true;
    }
}

void PageProcessExitTest::endsEverythingAtAnyMoment() {
    QFETCH(const int, milliseconds);
    QFETCH(const int, panels);
    QFETCH(const bool, unloadsFirst);
    QPluginLoader loader(QStringLiteral(PELORIN_APP_DIR "/lib/pelorin/PelorinNews.so"));
    // Qt keeps plug-ins loaded unless it is told not to.
    loader.setLoadHints({});
    auto *plugin = qobject_cast<NewsPlugin *>(loader.instance());
    QVERIFY2(plugin, qPrintable(loader.errorString()));
    plugin->setHostIdentity(hostIdentity());
    QList<std::shared_ptr<NewsController>> controllers;
    // A failed check leaves nothing to the following rows.
    const auto exitAll = qScopeGuard([&controllers] {
        for (const auto &controller : controllers)
            controller->exit();
    });
    for (int panel = 0; panel < panels; ++panel) {
        controllers.append(plugin->init());
        QVERIFY(controllers.last());
        controllers.last()->show();
    }
    if (milliseconds > 0)
        QTest::qWait(milliseconds);
    const QSet<QByteArray> sessions = sessionsOfChildren();
    QCOMPARE(sessions.size(), panels);
    if (unloadsFirst)
        QVERIFY(loader.unload());
    while (!controllers.isEmpty())
        controllers.takeFirst()->exit();
    if (!unloadsFirst)
        QVERIFY(loader.unload());
    QTRY_COMPARE(processesOf(sessions), QStringList());
    QTRY_VERIFY(!newsWindow());
}

PELORIN_WIDGET_TEST_MAIN(PageProcessExitTest)
#include "PageProcessExitTest.moc"
