// A window that the desktop shows but does not activate, for instance to prevent focus stealing: a
// window on the screen counts as opened all the same.

#include "TestMain.h"
#include "WindowFixture.h"

#include <QApplication>
#include <QPointer>
#include <QTimer>
#include <QWindow>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

// Longer than the panel waits for a visible window to get the focus, in milliseconds.
constexpr int longEnough = 600;

// Counts and signals the expose events that make part of a window visible.
class Exposures : public QObject {
    Q_OBJECT

public:
    explicit Exposures(QWindow &window) { window.installEventFilter(this); }
    int count = 0;

Q_SIGNALS:
    void exposed();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override {
        if (event->type() == QEvent::Expose && static_cast<QWindow *>(watched)->isExposed()) {
            ++count;
            Q_EMIT exposed();
        }
        return false;
    }
};

}  // namespace

class UnactivatedTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void isOpenedOnceItIsOnTheScreen();
    void isOpenedWhateverEventsItGetsMeanwhile();
    void isOpenedOnceForEachShowing();
    void isNotOpenedBeforeItIsOnTheScreen();
    void isNotOpenedWhenItWentFromTheScreenAtOnce();
    void isNotOpenedWhenItIsDeletedAtOnce();

private:
    [[nodiscard]] QString position() const { return _controller->itemIndicator()->text(); }

    std::unique_ptr<WindowFixture> _fixture;
    std::shared_ptr<OlvNewsWindowController> _controller;
};

void UnactivatedTest::init() {
    _fixture = std::make_unique<WindowFixture>();
    _fixture->prefer(QStringLiteral("newsShowOnStart"), false);
    _fixture->prefer(QStringLiteral("newsFilter"), 1);
    _fixture->serve(WindowFixture::items(3));
    _controller = _fixture->makeController();
    // The window manager does not give the focus to a window with this flag: the same happens to a
    // window when focus stealing is prevented.
    _controller->window()->setWindowFlag(Qt::WindowDoesNotAcceptFocus);
}

void UnactivatedTest::cleanup() {
    // No window has got the focus during the test.
    QVERIFY(!QGuiApplication::focusWindow());
    _controller.reset();
    _fixture.reset();
}

void UnactivatedTest::isOpenedOnceItIsOnTheScreen() {
    QCOMPARE(_fixture->services.notificationCenter->deliveredNotifications().size(), 1);
    _controller->showWindow();
    QTRY_COMPARE(position(), QStringLiteral("1 / 3"));
    QTRY_COMPARE(_controller->webView()->outerHTML(), QStringLiteral("<p>Body 1</p>"));
    QVERIFY(!_controller->window()->isActiveWindow());
    QVERIFY(_fixture->services.notificationCenter->deliveredNotifications().isEmpty());
    // The window counts as open in every respect: a refresh waits until it closes.
    _controller->refreshCache();
    WindowFixture::settle(*_controller);
    QCOMPARE(_fixture->server().requests().size(), 1U);
    _controller->window()->performClose();
    QVERIFY(_fixture->server().waitForRequests(2));
}

void UnactivatedTest::isOpenedWhateverEventsItGetsMeanwhile() {
    _controller->showWindow();
    QTimer events;
    connect(&events, &QTimer::timeout, this, [this] {
        QEvent event(QEvent::User);
        QCoreApplication::sendEvent(_controller->window()->windowHandle(), &event);
    });
    events.start(20);
    QTRY_COMPARE(position(), QStringLiteral("1 / 3"));
}

void UnactivatedTest::isOpenedOnceForEachShowing() {
    _controller->showWindow();
    QTRY_COMPARE(position(), QStringLiteral("1 / 3"));
    _controller->onNextItem();
    Exposures exposures(*_controller->window()->windowHandle());
    // Cover the window, and uncover it again.
    {
        QWidget other;
        other.setGeometry(_controller->window()->geometry());
        other.show();
        other.raise();
        QVERIFY(QTest::qWaitForWindowExposed(&other, testPatience));
    }
    QTRY_VERIFY(exposures.count > 0);
    QTest::qWait(longEnough);
    QCOMPARE(position(), QStringLiteral("2 / 3"));
    _controller->window()->performClose();
    _controller->showWindow();
    QTRY_COMPARE(position(), QStringLiteral("1 / 3"));
}

void UnactivatedTest::isNotOpenedBeforeItIsOnTheScreen() {
    _controller->window()->showMinimized();
    QVERIFY(_controller->window()->isVisible());
    QTest::qWait(longEnough);
    QVERIFY(!_controller->window()->windowHandle()->isExposed());
    QCOMPARE(position(), QString());
    _controller->showWindow();
    QTRY_COMPARE(position(), QStringLiteral("1 / 3"));
}

void UnactivatedTest::isNotOpenedWhenItWentFromTheScreenAtOnce() {
    QVERIFY(_controller->window()->winId());
    Exposures exposures(*_controller->window()->windowHandle());
    const auto hiding = connect(&exposures, &Exposures::exposed, _controller->window(),
                                &QWidget::hide, Qt::QueuedConnection);
    _controller->showWindow();
    QTRY_VERIFY(exposures.count > 0);
    QTRY_VERIFY(!_controller->window()->isVisible());
    disconnect(hiding);
    QTest::qWait(longEnough);
    QCOMPARE(position(), QString());
    _controller->showWindow();
    QTRY_COMPARE(position(), QStringLiteral("1 / 3"));
}

void UnactivatedTest::isNotOpenedWhenItIsDeletedAtOnce() {
    const QPointer<OlvNewsWindow> window = _controller->window();
    QVERIFY(window->winId());
    const Exposures exposures(*window->windowHandle());
    connect(&exposures, &Exposures::exposed, window, &QObject::deleteLater);
    _controller->showWindow();
    QTRY_VERIFY(!window);
    QTest::qWait(longEnough);
    QCOMPARE(_fixture->services.notificationCenter->deliveredNotifications().size(), 1);
    _controller->window()->setWindowFlag(Qt::WindowDoesNotAcceptFocus);
    _controller->showWindow();
    QTRY_COMPARE(position(), QStringLiteral("1 / 3"));
}

PELORIN_WIDGET_TEST_MAIN(UnactivatedTest)
#include "UnactivatedTest.moc"
