// The controller under a random sequence of everything that user, desktop, feed service and host
// do, without waiting in between.
//
// Prints its seed. To repeat a failure (the timing of threads may still differ):
//   PELORIN_SEED=<seed> test_window.random_order randomOrder
// PELORIN_STEPS sets the number of steps.

#include "RecordingLogger.h"
#include "TestMain.h"
#include "WindowTest.h"

#include <QApplication>
#include <QRegularExpression>

#include <random>
#include <utility>
#include <vector>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

constexpr int standardSteps = 800;
constexpr int maxControllers = 3;

int fromEnvironment(const char *name, int otherwise) {
    bool isSet = false;
    const int value = qEnvironmentVariableIntValue(name, &isSet);
    return isSet ? value : otherwise;
}

}  // namespace

class RandomOrderTest : public WindowTest {
    Q_OBJECT

private Q_SLOTS:
    void randomOrder_data();
    void randomOrder();
    void owesWhatTheModelOwes();

private:
    using Controller = std::shared_ptr<OlvNewsWindowController>;

    void prepare() override {
        _fixture->serve(WindowFixture::items(5));
        _fixture->prefer(QStringLiteral("newsShowOnStart"), false);
    }

    int number(int below) { return std::uniform_int_distribution<int>(0, below - 1)(_random); }

    void step();
    void begin();
    void leave();
    void changeFeed();
    void changeReply();
    void changePreference();
    void useControl(OlvNewsWindowController &controller);
    void useWindow(OlvNewsWindowController &controller);
    void checkShownItem(OlvNewsWindowController &controller);

    std::mt19937 _random;
    std::vector<Controller> _controllers;
    /// Every controller made, to see that none outlives its use.
    std::vector<std::weak_ptr<OlvNewsWindowController>> _all;
};

void RandomOrderTest::begin() {
    if (_controllers.size() >= maxControllers)
        return;
    _controllers.push_back(_fixture->beginController());
    _all.push_back(_controllers.back());
}

void RandomOrderTest::leave() {
    if (_controllers.empty())
        return;
    const auto which = _controllers.begin() + number(static_cast<int>(_controllers.size()));
    (*which)->exit();
    // A host may call it twice, and may go on to use the controller.
    if (number(4) == 0)
        (*which)->exit();
    if (number(4) == 0)
        (*which)->showWindow();
    if ((*which)->window()->isVisible())
        (*which)->window()->performClose();
    _controllers.erase(which);
}

void RandomOrderTest::changeFeed() {
    static const int counts[] = {0, 1, 2, 5, 300};
    _fixture->serve(WindowFixture::items(counts[number(5)]));
}

void RandomOrderTest::changeReply() {
    FeedReply reply;
    switch (number(8)) {
        case 0:
            reply.status = 503;
            break;
        case 1:
            reply.delayBeforeHead = std::chrono::milliseconds(number(200));
            break;
        case 2:
            reply.cutAfter = number(500);
            break;
        case 3:
            reply.cutBeforeHead = true;
            reply.cutStyle = FeedReply::CutStyle::Reset;
            break;
        case 4:
            reply.body = QByteArray("<rss><channel><item><title>Unfinished");
            break;
        case 5:
            reply.drip = FeedReply::Drip{200, std::chrono::milliseconds(2)};
            break;
        case 6:
            reply.invalidUtf8 = true;
            break;
        default:
            break;  // as it should be
    }
    _fixture->server().setReply(reply);
}

void RandomOrderTest::changePreference() {
    switch (number(4)) {
        case 0:
            _fixture->prefer(QStringLiteral("newsShowOnStart"), number(2) == 0);
            break;
        case 1:
            _fixture->prefer(QStringLiteral("newsRefreshInterval"), number(3));
            break;
        case 2:
            _fixture->prefer(QStringLiteral("newsFeedLocale"),
                             QLatin1String(number(2) == 0 ? "en-US" : "de-DE"));
            break;
        default:
            _fixture->prefer(
                QStringLiteral("newsFeedBaseURL"),
                number(4) == 0 ? QStringLiteral("nonsense:") : _fixture->server().feedAddress());
    }
}

void RandomOrderTest::useControl(OlvNewsWindowController &controller) {
    if (!controller.window())
        return;
    switch (number(8)) {
        case 0:
            controller.previousItem()->click();
            break;
        case 1:
        case 2:
            controller.nextItem()->click();
            break;
        case 3:
            controller.showOnStart()->click();
            break;
        case 4:
            controller.optionsButton()->click();
            break;
        case 5:
            if (const int count = controller.displayContentType()->count(); count > 0)
                controller.displayContentType()->setCurrentIndex(number(count));
            controller.onDisplayContentTypeChanged();
            break;
        case 6:
            if (const int count = controller.displayContentFrom()->count(); count > 0)
                controller.displayContentFrom()->setCurrentIndex(number(count));
            controller.onDisplayContentFromChanged();
            break;
        default:
            QTest::keyClick(controller.window(), number(2) == 0 ? Qt::Key_Escape : Qt::Key_Tab);
    }
}

void RandomOrderTest::useWindow(OlvNewsWindowController &controller) {
    switch (number(8)) {
        case 0:
        case 1:
            controller.showWindow();
            break;
        case 2:
        case 3:
            controller.window()->performClose();
            break;
        case 4:
            controller.window()->resize(300 + number(600), 200 + number(500));
            break;
        case 5:
            controller.window()->setWindowState(number(2) == 0 ? Qt::WindowMaximized
                                                               : Qt::WindowNoState);
            break;
        case 6:
            delete controller.window();
            break;
        default: {
            QEvent activated(QEvent::WindowActivate);
            QCoreApplication::sendEvent(controller.window(), &activated);
        }
    }
}

void RandomOrderTest::step() {
    if (_controllers.empty())
        begin();
    OlvNewsWindowController &controller =
        *_controllers[static_cast<size_t>(number(static_cast<int>(_controllers.size())))];
    switch (number(24)) {
        case 0:
            begin();
            break;
        case 1:
            leave();
            break;
        case 2:
            changeFeed();
            break;
        case 3:
            changeReply();
            break;
        case 4:
            changePreference();
            break;
        case 5:
            controller.onRefreshTimerFire();
            break;
        case 6:
            controller.refreshCacheShowingWindow();
            break;
        case 7:
            controller.setLogger(number(2) == 0 ? std::make_shared<RecordingLogger>() : nullptr);
            break;
        case 8:
            controller.removeNotification();
            break;
        case 9:
            controller.userNotificationCenterDidActivateNotification({});
            break;
        case 10:
            controller.webViewDecidePolicyForNavigationAction(NavigationType::Other,
                                                              QUrl(QStringLiteral("about:blank")));
            break;
        case 11:
        case 12:
        case 13:
        case 14:
            useWindow(controller);
            break;
        case 15:
        case 16:
        case 17:
        case 18:
            useControl(controller);
            break;
        case 19:
            QTest::qWait(number(30));
            break;
        default:
            QCoreApplication::processEvents();
    }
}

// Whatever came before: when the window opens, it shows an item of the list.
void RandomOrderTest::checkShownItem(OlvNewsWindowController &controller) {
    controller.refreshCacheShowingWindow();
    WindowFixture::settle(controller);
    if (controller.window()->isVisible())
        controller.window()->performClose();
    WindowFixture::settle(controller);
    controller.showWindow();
    controller.windowDidBecomeKey();
    const QString position = controller.itemIndicator()->text();
    static const QRegularExpression places(QStringLiteral("^(\\d+) / (\\d+)$"));
    const auto match = places.match(position);
    const quint64 count = controller.newsCache().count();
    QVERIFY2(match.hasMatch() == (count > 0), qPrintable(position));
    const quint64 place = match.captured(1).toULongLong();
    QCOMPARE(match.captured(2).toULongLong(), count);
    QVERIFY(count == 0 || (place >= 1 && place <= count));
    QCOMPARE(controller.previousItem()->isEnabled(), count > 1);
    QCOMPARE(controller.nextItem()->isEnabled(), count > 1);
}

void RandomOrderTest::randomOrder_data() {
    QTest::addColumn<int>("seed");
    if (qEnvironmentVariableIsSet("PELORIN_SEED")) {
        QTest::newRow("as asked") << fromEnvironment("PELORIN_SEED", 0);
        return;
    }
    for (int seed = 1; seed <= 3; ++seed)
        QTest::addRow("%d", seed) << seed;
}

void RandomOrderTest::randomOrder() {
    QFETCH(const int, seed);
    qInfo("Seed %d", seed);
    _random.seed(static_cast<unsigned>(seed));
    const int steps = fromEnvironment("PELORIN_STEPS", standardSteps);
    for (int i = 0; i < steps; ++i)
        step();

    _fixture->server().clearReplies();
    _fixture->prefer(QStringLiteral("newsFeedBaseURL"), _fixture->server().feedAddress());
    _fixture->serve(WindowFixture::items(4));
    for (const Controller &controller : _controllers) {
        checkShownItem(*controller);
        if (QTest::currentTestFailed())
            break;
    }
    for (const Controller &controller : _controllers)
        controller->exit();
    _controllers.clear();
    for (const auto &each : _all)
        QTRY_VERIFY(each.expired());
    _all.clear();
    QVERIFY(!WindowFixture::isShown());
    QTRY_COMPARE(_fixture->server().openConnections(), 0);
}

// A model of the controller's two flags, "the window is open" and "a refresh is owed", predicts how
// often the service is asked.
void RandomOrderTest::owesWhatTheModelOwes() {
    _random.seed(static_cast<unsigned>(fromEnvironment("PELORIN_SEED", 1)));
    const auto controller = _fixture->makeController();
    bool isOpen = false;
    bool isOwed = false;
    size_t requests = _fixture->server().requests().size();
    const auto closed = [&] {
        isOpen = false;
        if (std::exchange(isOwed, false))
            ++requests;
    };
    for (int i = 0; i < 200; ++i) {
        const int what = number(6);
        switch (what) {
            case 0:
                controller->showWindow();
                controller->windowDidBecomeKey();
                isOpen = true;
                break;
            case 1:
                controller->window()->performClose();
                closed();
                break;
            case 2:
                delete controller->window();
                closed();
                break;
            case 3:
                controller->window()->showMinimized();
                break;
            default:
                controller->onRefreshTimerFire();
                if (isOpen)
                    isOwed = true;
                else
                    ++requests;
        }
        WindowFixture::settle(*controller);
        // The desktop may have activated a window that is shown minimized.
        if (what == 3 && !isOpen) {
            controller->window()->performClose();
            WindowFixture::settle(*controller);
        }
        const QByteArray step = QByteArray("step ") + QByteArray::number(i);
        QVERIFY2(_fixture->server().requests().size() == requests, step.constData());
    }
    controller->exit();
    closed();
    WindowFixture::settle(*controller);
    QCOMPARE(_fixture->server().requests().size(), requests);
}

PELORIN_WIDGET_TEST_MAIN(RandomOrderTest)

#include "RandomOrderTest.moc"
