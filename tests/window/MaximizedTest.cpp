// A window whose edges the desktop controls (maximized, full-screen). Needs a window manager, which
// alone knows what happens to such a window.

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
        controller->window()->performClose();
        QTRY_VERIFY(!controller->window()->isVisible());
        controller->showWindow();
        QTRY_VERIFY(controller->window()->windowHandle()->isExposed());
    }
    void maximize() {
        controller->window()->showMaximized();
        QTRY_VERIFY(controller->window()->width() > ordinary.width());
        const auto isSettled = [this] {
            maximized = controller->window()->geometry();
            waitForAnswers();
            return controller->window()->geometry() == maximized;
        };
        QTRY_VERIFY(isSettled());
    }
    // The window manager replies to every step of the folding and to every change by hand, and a
    // late reply undoes later requests.
    static void waitForAnswers() { QTest::qWait(300); }

    std::unique_ptr<WindowFixture> fixture;
    std::shared_ptr<OlvNewsWindowController> controller;
    QRect ordinary;
    QRect maximized;
};

void MaximizedTest::init() {
    fixture = std::make_unique<WindowFixture>();
    fixture->serve(WindowFixture::items(2));
    controller = fixture->makeController();
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 2"));
    // The first show in the process folds the options away.
    QTRY_COMPARE(controller->optionsLabel()->text(), QStringLiteral("Show options"));
    ordinary = QRect(200, 150, 650, 480);
    const auto isThere = [this] {
        controller->window()->setGeometry(ordinary);
        waitForAnswers();
        return controller->window()->geometry() == ordinary;
    };
    QTRY_VERIFY(isThere());
}

void MaximizedTest::cleanup() {
    controller->exit();
    controller.reset();
    fixture.reset();
}

void MaximizedTest::opensWhereItWas() {
    reopen();
    QTRY_COMPARE(controller->window()->geometry(), ordinary);
}

void MaximizedTest::restoringBringsBackTheOrdinaryPlaceAfterClosing() {
    maximize();
    reopen();
    reopen();
    QTRY_COMPARE(controller->window()->geometry(), maximized);
    controller->window()->showNormal();
    QTRY_COMPARE(controller->window()->geometry(), ordinary);
}

void MaximizedTest::restoringBringsBackTheHeightOfAFoldingCutShort_data() {
    QTest::addColumn<bool>("reopened");
    QTest::newRow("at once") << false;
    QTest::newRow("after closing") << true;
}

void MaximizedTest::restoringBringsBackTheHeightOfAFoldingCutShort() {
    QFETCH(const bool, reopened);
    const QRect unfolded = ordinary.adjusted(0, 0, 0, 38);
    for (const bool open : {true, false}) {
        const int before = controller->window()->height();
        controller->onOptionsButton();
        QTRY_VERIFY(controller->window()->height() != before);
        maximize();
        QCOMPARE(controller->optionsLabel()->text(),
                 open ? QStringLiteral("Hide options") : QStringLiteral("Show options"));
        if (reopened)
            reopen();
        QTRY_COMPARE(controller->window()->geometry(), maximized);
        controller->window()->showNormal();
        QTRY_COMPARE(controller->window()->geometry(), open ? unfolded : ordinary);
        waitForAnswers();
        QCOMPARE(controller->window()->geometry(), open ? unfolded : ordinary);
    }
}

PELORIN_WIDGET_TEST_MAIN(MaximizedTest)
#include "MaximizedTest.moc"
