// A host that ends the panel at any moment of the page process's life: nothing of it stays.

#include "LoadedModule.h"
#include "OneItemFeed.h"
#include "TestMain.h"

#include <QDir>
#include <QInputMethodEvent>
#include <QScopeGuard>
#include <QSet>
#include <QTest>

#include <csignal>
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

// Each session has the number of its page process.
void signalAll(const QSet<QByteArray> &sessions, int signal) {
    for (const QByteArray &session : sessions)
        ::kill(session.toInt(), signal);
}

// The panel's widget that shows the frames of the page process; null if there is none.
QWidget *pageWidget() {
    const QWidget *window = newsWindow();
    const auto all = window ? window->findChildren<QWidget *>() : QList<QWidget *>();
    for (QWidget *each : all) {
        if (qstrcmp(each->metaObject()->className(), "pelorinnews::PageWidget") == 0)
            return each;
    }
    return nullptr;
}

qsizetype openDescriptors() {
    return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size();
}

}  // namespace

class PageProcessExitTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void endsEverythingAtAnyMoment_data();
    void endsEverythingAtAnyMoment();
    void endsEverythingInUse_data();
    void endsEverythingInUse();

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

void PageProcessExitTest::endsEverythingInUse_data() {
    QTest::addColumn<QString>("doing");
    for (const char *doing : {"resting", "choosing", "selecting", "composing", "closed", "crashed",
                              "restarting", "stopped", "stopped, choosing", "stopped, closed"})
        QTest::newRow(doing) << QString::fromLatin1(doing);
}

void PageProcessExitTest::endsEverythingInUse() {
    QFETCH(const QString, doing);
    FeedServer server;
    QVERIFY(server.start());
    serveOneItemFeed(server,
                     "<style>body{background:#20c040;margin:0}select,input{display:block;"
                     "width:150px;height:60px}</style><select><option>One<option>Two"
                     "</select><input><p>News of today");
    preferFeed(server.feedAddress());
    QSettings preferences(hostIdentity().organizationName, hostIdentity().applicationName);
    // All news, not only what no earlier window has shown.
    preferences.setValue(QStringLiteral("newsFilter"), 1);
    preferences.sync();
    const auto preferOther = qScopeGuard([this] { preferFeed(_server.feedAddress()); });
    static qsizetype descriptors = 0;
    for (int attempt = 0; attempt < 2; ++attempt) {
        module()->setHostIdentity(hostIdentity());
        auto controller = module()->init();
        QVERIFY(controller);
        const auto exit = qScopeGuard([&controller] {
            if (controller)
                controller->exit();
        });
        const auto isPainted = [] {
            QWidget *page = pageWidget();
            return page && page->isVisible() &&
                   page->grab({page->width() - 30, page->height() - 30, 1, 1})
                           .toImage()
                           .pixelColor(0, 0) == QColor(0x20, 0xc0, 0x40);
        };
        // The window shows the news that it finds when it opens, so it may have to open again after
        // the first refresh.
        const auto isShown = [&controller, isPainted] {
            controller->show();
            if (QTest::qWaitFor(isPainted, 2000))
                return true;
            newsWindow()->close();
            return false;
        };
        QTRY_VERIFY(isShown());
        QWidget *page = pageWidget();
        const QSet<QByteArray> sessions = sessionsOfChildren();
        QCOMPARE(sessions.size(), 1);
        if (doing.contains(QLatin1String("choosing"))) {
            const auto isOpen = [page] {
                if (!QApplication::activePopupWidget())
                    QTest::mouseClick(page, Qt::LeftButton, {}, QPoint(50, 30));
                return QTest::qWaitFor([] { return QApplication::activePopupWidget(); }, 1000);
            };
            QTRY_VERIFY(isOpen());
        }
        if (doing == QLatin1String("selecting")) {
            QTest::mousePress(page, Qt::LeftButton, {}, QPoint(20, 130));
            QTest::mouseMove(page, QPoint(90, 130));
        }
        if (doing == QLatin1String("composing")) {
            QTest::mouseClick(page, Qt::LeftButton, {}, QPoint(50, 90));
            QTRY_VERIFY(page->testAttribute(Qt::WA_InputMethodEnabled));
            QInputMethodEvent event(QStringLiteral("text"), {});
            QApplication::sendEvent(page, &event);
        }
        if (doing.contains(QLatin1String("stopped")))
            signalAll(sessions, SIGSTOP);
        if (doing.contains(QLatin1String("closed")))
            newsWindow()->close();
        if (doing == QLatin1String("crashed") || doing == QLatin1String("restarting"))
            signalAll(sessions, SIGSEGV);
        if (doing == QLatin1String("restarting"))
            QTRY_VERIFY(!(sessionsOfChildren() - sessions).isEmpty());
        const QSet<QByteArray> later = sessionsOfChildren() + sessions;
        controller->exit();
        controller.reset();
        QTRY_COMPARE(processesOf(later), QStringList());
        QTRY_VERIFY(!newsWindow());
        QVERIFY(QApplication::activePopupWidget() == nullptr);
        // The first panel of a process opens what all of them use.
        if (descriptors == 0)
            descriptors = openDescriptors();
        else
            QTRY_VERIFY(openDescriptors() <= descriptors);
    }
}

PELORIN_WIDGET_TEST_MAIN(PageProcessExitTest)
#include "PageProcessExitTest.moc"
