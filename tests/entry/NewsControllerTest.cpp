// `NewsController`, used as a host uses it.

#include "FeedServer.h"
#include "LoadedModule.h"
#include "RecordingLogger.h"
#include "TestMain.h"

#include <QPointer>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

// A host's delegate that records, when it is destroyed, whether the window controller's window
// still exists.
class Delegate {
public:
    Delegate(const QPointer<QWidget> &window, bool &windowIsThere)
        : _window(window), _windowIsThere(windowIsThere) {}
    Delegate(const Delegate &) = delete;
    Delegate &operator=(const Delegate &) = delete;
    ~Delegate() {
        // Destroys the window controller and its window if nobody holds the controller any more.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        _windowIsThere = !_window.isNull();
    }

private:
    QPointer<QWidget> _window;
    bool &_windowIsThere;
};

// Counts how often the window appears, and closes it each time.
class Closer : public QObject {
public:
    int shown = 0;

    bool eventFilter(QObject *watched, QEvent *event) override {
        if (event->type() == QEvent::Show) {
            ++shown;
            QMetaObject::invokeMethod(
                watched, [watched] { static_cast<QWidget *>(watched)->close(); },
                Qt::DirectConnection);
        }
        return false;
    }
};

}  // namespace

class NewsControllerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void successLeavesTheErrorPlaceUntouched();
    void keepsTheDelegateAliveUntilAnotherOrItsOwnEnd();
    void letsGoOfTheDelegateBeforeTheWindowController();
    void showsAtOnceAndBringsForwardOnceForEachCall();
    void showAfterExitShowsTheWindowAgain();
    void whatShowPostedRunsAfterExitAndRelease();
    void theLoggerReceivesNoMessageOfTheCache();

private:
    NewsPlugin *_plugin = nullptr;
    std::unique_ptr<FeedServer> _server;
    std::shared_ptr<NewsController> _controller;
};

void NewsControllerTest::initTestCase() {
    _plugin = module();
    _plugin->setHostIdentity(hostIdentity());
}

void NewsControllerTest::init() {
    _server = std::make_unique<FeedServer>();
    QVERIFY(_server->start());
    preferFeed(_server->feedAddress());
    _controller = _plugin->init();
    QVERIFY(_controller);
    QVERIFY(_server->waitForRequests(1));
}

void NewsControllerTest::cleanup() {
    if (_controller)
        _controller->exit();
    _controller.reset();
    _server.reset();
    QCoreApplication::processEvents();
}

void NewsControllerTest::successLeavesTheErrorPlaceUntouched() {
    const Error before = {QStringLiteral("mine"), 7, {{QStringLiteral("k"), 1}}};
    Error error = before;
    const auto another = _plugin->init(&error);
    QVERIFY(another);
    QCOMPARE(error, before);
    another->exit();
}

void NewsControllerTest::keepsTheDelegateAliveUntilAnotherOrItsOwnEnd() {
    auto first = std::make_shared<int>(1);
    auto second = std::make_shared<QString>();
    const std::weak_ptr<int> watchedFirst = first;
    const std::weak_ptr<QString> watchedSecond = second;
    _controller->setDelegate(std::move(first));
    QVERIFY(!watchedFirst.expired());
    _controller->setDelegate(std::move(second));
    QVERIFY(watchedFirst.expired());
    QVERIFY(!watchedSecond.expired());
    _controller->exit();
    QVERIFY(!watchedSecond.expired());
    _controller.reset();
    QVERIFY(watchedSecond.expired());
}

void NewsControllerTest::letsGoOfTheDelegateBeforeTheWindowController() {
    _controller->show();
    const QPointer<QWidget> window = newsWindow();
    bool windowIsThere = false;
    _controller->setDelegate(std::make_shared<Delegate>(window, windowIsThere));
    QTRY_COMPARE(_controller.use_count(), 1);
    // Once the window's pending tasks have run, only the `NewsController` holds the window
    // controller.
    QTRY_VERIFY(window->isActiveWindow());
    QCoreApplication::processEvents();
    _controller->exit();
    QCoreApplication::processEvents();
    _controller.reset();
    QVERIFY(windowIsThere);
    QTRY_VERIFY(!window);
}

void NewsControllerTest::showsAtOnceAndBringsForwardOnceForEachCall() {
    _controller->show();
    QVERIFY(newsWindow());
    QVERIFY(newsWindow()->isVisible());
    _controller->show();
    Closer closer;
    newsWindow()->close();
    newsWindow()->installEventFilter(&closer);
    QCoreApplication::processEvents();
    newsWindow()->removeEventFilter(&closer);
    QCOMPARE(closer.shown, 2);
}

void NewsControllerTest::showAfterExitShowsTheWindowAgain() {
    _controller->show();
    _controller->exit();
    QCoreApplication::processEvents();
    newsWindow()->close();
    _controller->show();
    QVERIFY(newsWindow()->isVisible());
    QCoreApplication::processEvents();
    newsWindow()->close();
}

void NewsControllerTest::whatShowPostedRunsAfterExitAndRelease() {
    _controller->show();
    const QPointer<QWidget> window = newsWindow();
    _controller->exit();
    QVERIFY(!window->isVisible());
    Closer closer;
    window->installEventFilter(&closer);
    _controller.reset();
    QCoreApplication::processEvents();
    QCOMPARE(closer.shown, 1);
    QTRY_VERIFY(!window);
}

void NewsControllerTest::theLoggerReceivesNoMessageOfTheCache() {
    const auto logger = std::make_shared<RecordingLogger>();
    _controller->setLogger(logger);
    _controller->show();
    // The service has no feed, so every refresh fails.
    QSettings(QStringLiteral("Olvane"), QStringLiteral("Pelorin"))
        .setValue(QStringLiteral("newsRefreshInterval"), 1);
    const auto another = _plugin->init();
    another->setLogger(logger);
    QTRY_VERIFY(logger->entries().size() >= 2);
    another->exit();
    QSettings(QStringLiteral("Olvane"), QStringLiteral("Pelorin"))
        .remove(QStringLiteral("newsRefreshInterval"));
    for (const auto &entry : logger->entries()) {
        QCOMPARE(entry.level, 1);
        QVERIFY2(entry.text.startsWith(
                     QStringLiteral("News Window Controller - refreshContent received an error: ")),
                 qPrintable(entry.text));
        QVERIFY(entry.text.contains(QStringLiteral("404")));
    }
}

PELORIN_WIDGET_TEST_MAIN(NewsControllerTest)
#include "NewsControllerTest.moc"
