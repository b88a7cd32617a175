// The window's geometry when it is maximized, restored, closed and reopened. Needs a window
// manager, which alone decides how large a maximized window is.

#include "TestMain.h"
#include "WindowFixture.h"

#include <QWindow>

using namespace pelorinnews;
using namespace pelorinnews::test;

class MaximizedTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void opensWhereItWas();
    void restoringBringsBackTheOrdinaryPlaceAfterClosing();
    void restoringBringsBackTheHeightOfAFoldingCutShort_data();
    void restoringBringsBackTheHeightOfAFoldingCutShort();

private:
    void reopen() {
        _controller->window()->performClose();
        QTRY_VERIFY(!_controller->window()->isVisible());
        _controller->showWindow();
        QTRY_VERIFY(_controller->window()->windowHandle()->isExposed());
    }
    void maximize() {
        _controller->window()->showMaximized();
        QTRY_VERIFY(_controller->window()->width() > _ordinary.width());
        const auto isSettled = [this] {
            _maximized = _controller->window()->geometry();
            waitForAnswers();
            return _controller->window()->geometry() == _maximized;
        };
        QTRY_VERIFY(isSettled());
    }
    // Waits for the window manager's replies to each step of the folding and to each resize. A late
    // reply would undo a later request.
    static void waitForAnswers() { QTest::qWait(300); }

    std::unique_ptr<WindowFixture> _fixture;
    std::shared_ptr<OlvNewsWindowController> _controller;
    QRect _ordinary;
    QRect _maximized;
};

void MaximizedTest::init() {
    _fixture = std::make_unique<WindowFixture>();
    _fixture->serve(WindowFixture::items(2));
    _controller = _fixture->makeController();
    _controller->showWindow();
    QTRY_COMPARE(_controller->itemIndicator()->text(), QStringLiteral("1 / 2"));
    // The first show in the process folds the options away.
    QTRY_COMPARE(_controller->optionsLabel()->text(), QStringLiteral("Show options"));
    _ordinary = QRect(200, 150, 650, 480);
    const auto isThere = [this] {
        _controller->window()->setGeometry(_ordinary);
        waitForAnswers();
        return _controller->window()->geometry() == _ordinary;
    };
    QTRY_VERIFY(isThere());
}

void MaximizedTest::cleanup() {
    _controller->exit();
    _controller.reset();
    _fixture.reset();
}

void MaximizedTest::opensWhereItWas() {
    reopen();
    QTRY_COMPARE(_controller->window()->geometry(), _ordinary);
}

void MaximizedTest::restoringBringsBackTheOrdinaryPlaceAfterClosing() {
    maximize();
    reopen();
    reopen();
    QTRY_COMPARE(_controller->window()->geometry(), _maximized);
    _controller->window()->showNormal();
    QTRY_COMPARE(_controller->window()->geometry(), _ordinary);
}

void MaximizedTest::restoringBringsBackTheHeightOfAFoldingCutShort_data() {
    QTest::addColumn<bool>("reopened");
    QTest::newRow("at once") << false;
    QTest::newRow("after closing") << true;
}

void MaximizedTest::restoringBringsBackTheHeightOfAFoldingCutShort() {
    QFETCH(const bool, reopened);
    const QRect unfolded = _ordinary.adjusted(0, 0, 0, 38);
    for (const bool open : {true, false}) {
        const int before = _controller->window()->height();
        _controller->onOptionsButton();
        QTRY_VERIFY(_controller->window()->height() != before);
        maximize();
        QCOMPARE(_controller->optionsLabel()->text(),
                 open ? QStringLiteral("Hide options") : QStringLiteral("Show options"));
        if (reopened)
            reopen();
        QTRY_COMPARE(_controller->window()->geometry(), _maximized);
        _controller->window()->showNormal();
        QTRY_COMPARE(_controller->window()->geometry(), open ? unfolded : _ordinary);
        waitForAnswers();
        QCOMPARE(_controller->window()->geometry(), open ? unfolded : _ordinary);
    }
}

PELORIN_WIDGET_TEST_MAIN(MaximizedTest)
#include "MaximizedTest.moc"
