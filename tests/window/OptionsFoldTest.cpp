// Folding and unfolding the options area, and what a user may do meanwhile.

#include "TestMain.h"
#include "window/OptionsFold.h"

#include <QApplication>
#include <QScreen>
#include <QTest>
#include <QVBoxLayout>
#include <QWidget>

using namespace pelorinnews;

namespace {

// Content, a row of controls and the options area, in a layout like the news window's.
struct Folding {
    Folding() {
        window.resize(400, 300);
        layout.setSpacing(0);
        layout.setContentsMargins({});
        layout.setSizeConstraint(QLayout::SetNoConstraint);
        content.setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
        controls.setFixedHeight(40);
        area.setFixedHeight(OptionsFold::foldHeight);
        layout.addWidget(&content, 1);
        layout.addWidget(&controls);
        layout.addWidget(&area);
        window.show();
    }

    void start(bool open) {
        fold.start(open, [this] { ++finished; });
    }
    // Folds without animation, and moves the window so that `room` pixels remain between it and the
    // bottom of the screen.
    void foldAbove(int room, int height = 262) {
        start(false);
        fold.complete();
        window.resize(400, height);
        const int bottom = window.screen()->availableGeometry().bottom() - room;
        window.move(window.x(), window.y() + bottom - window.frameGeometry().bottom());
    }

    struct Window : QWidget {
        Window() { setMinimumSize(200, 150); }
    } window;
    QVBoxLayout layout{&window};
    QWidget content;
    QWidget controls;
    QWidget area;
    OptionsFold fold{&window, &content, &area};
    int finished = 0;
};

// Records every height of a widget.
class Heights : public QObject {
public:
    explicit Heights(QWidget &widget) { widget.installEventFilter(this); }
    QList<int> all;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override {
        if (event->type() == QEvent::Resize)
            all.append(static_cast<QWidget *>(watched)->height());
        return false;
    }
};

// Records every vertical position of a widget.
class Places : public QObject {
public:
    explicit Places(QWidget &widget) { widget.installEventFilter(this); }
    QList<int> all;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override {
        if (event->type() == QEvent::Move)
            all.append(static_cast<QWidget *>(watched)->y());
        return false;
    }
};

}  // namespace

class OptionsFoldTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void foldsAndUnfoldsByTheSameHeight();
    void whatStandsAboveStaysInPlaceAllTheWhile();
    void changesTheHeightGradually();
    void eachChangeBeginsWhereTheLastOneEnded();
    void isNotWaitedFor();
    void aSecondStartCompletesTheFirst();
    void manyStartsInARowLeaveNothingHalfDone();
    void completesAtOnceWhenTold();
    void aResizeByHandInBetweenCounts();
    void aResizeByHandWhileItRunsLeavesNothingHalfDone();
    void theContentCanBeResizedAfterwards();
    void aWindowThatIsNotShownIsChangedAtOnce();
    void aChangeBeforeTheDesktopAnsweredTheLastOneKeepsTheHeights();
    void aMaximizedWindowKeepsItsEdges();
    void aWindowTakenByTheDesktopMeanwhileKeepsItsEdges_data();
    void aWindowTakenByTheDesktopMeanwhileKeepsItsEdges();
    void aWindowOfTheSmallestHeightTakenMeanwhileStaysTaken();
    void aHeightGivenMeanwhileIsLeftAlone();
    void aWindowThatWouldLeaveTheScreenKeepsItsEdge();
    void theContentGetsBackWhatItGaveWhereverTheWindowIsThen();
    void aLowWindowAtTheBottomOfTheScreenStaysAsLowAsItIs();
    void mayFoldAWindowOfTheSmallestHeight();
    void endsWithItsOwner();
    void itsWindowMayGoWhileItRuns();
    void withoutAWindowItOnlyFinishes();
};

void OptionsFoldTest::foldsAndUnfoldsByTheSameHeight() {
    Folding folding;
    folding.start(false);
    QTRY_COMPARE(folding.finished, 1);
    QCOMPARE(folding.window.size(), QSize(400, 262));
    QCOMPARE(folding.area.isVisible(), false);
    folding.start(true);
    QTRY_COMPARE(folding.finished, 2);
    QCOMPARE(folding.window.size(), QSize(400, 300));
    QCOMPARE(folding.area.geometry(), QRect(0, 262, 400, 38));
    QCOMPARE(folding.controls.y(), 222);
}

void OptionsFoldTest::whatStandsAboveStaysInPlaceAllTheWhile() {
    Folding folding;
    QCOMPARE(folding.content.geometry(), QRect(0, 0, 400, 222));
    QCOMPARE(folding.controls.y(), 222);
    const QPoint corner = folding.window.pos();
    Heights content(folding.content);
    Places controls(folding.controls);
    for (const bool open : {false, true, false, true}) {
        const int before = folding.finished;
        folding.start(open);
        QTRY_COMPARE(folding.finished, before + 1);
        QTest::qWait(0);
    }
    QCOMPARE(content.all, QList<int>());
    QCOMPARE(controls.all, QList<int>());
    QCOMPARE(folding.window.pos(), corner);
}

void OptionsFoldTest::changesTheHeightGradually() {
    Folding folding;
    Heights window(folding.window);
    folding.start(false);
    QTRY_COMPARE(folding.finished, 1);
    QVERIFY2(window.all.size() > 2, qPrintable(QString::number(window.all.size())));
    for (qsizetype index = 1; index < window.all.size(); ++index)
        QVERIFY(window.all.at(index) <= window.all.at(index - 1));
    QCOMPARE(window.all.last(), 262);
}

void OptionsFoldTest::eachChangeBeginsWhereTheLastOneEnded() {
    Folding folding;
    bool open = true;
    for (int change = 1; change <= 5; ++change) {
        open = !open;
        Heights heights(folding.window);
        folding.start(open);
        QTRY_COMPARE(folding.finished, change);
        const auto isBefore = [open](int one, int other) {
            return open ? one < other : other < one;
        };
        QVERIFY2(std::is_sorted(heights.all.begin(), heights.all.end(), isBefore),
                 qPrintable(QDebug::toString(heights.all)));
        QCOMPARE(folding.window.height(), open ? 300 : 262);
    }
}

void OptionsFoldTest::isNotWaitedFor() {
    Folding folding;
    folding.start(false);
    QCOMPARE(folding.finished, 0);
    QCOMPARE(folding.window.height(), 300);
}

void OptionsFoldTest::aSecondStartCompletesTheFirst() {
    Folding folding;
    folding.start(false);
    QTRY_VERIFY(folding.window.height() < 300);
    folding.start(true);
    QCOMPARE(folding.finished, 1);
    QTRY_COMPARE(folding.finished, 2);
    QCOMPARE(folding.window.height(), 300);
    QCOMPARE(folding.controls.y(), 222);
    QCOMPARE(folding.area.height(), 38);
}

void OptionsFoldTest::manyStartsInARowLeaveNothingHalfDone() {
    Folding folding;
    for (int round = 0; round < 50; ++round) {
        folding.start(false);
        folding.start(true);
    }
    folding.start(false);
    QTRY_COMPARE(folding.finished, 101);
    QCOMPARE(folding.window.height(), 262);
    QCOMPARE(folding.content.height(), 222);
}

void OptionsFoldTest::completesAtOnceWhenTold() {
    Folding folding;
    folding.start(false);
    folding.fold.complete();
    QCOMPARE(folding.finished, 1);
    QCOMPARE(folding.window.height(), 262);
    folding.fold.complete();
    QCOMPARE(folding.finished, 1);
}

void OptionsFoldTest::aResizeByHandInBetweenCounts() {
    Folding folding;
    folding.start(false);
    QTRY_COMPARE(folding.finished, 1);
    folding.window.resize(500, 400);
    folding.start(true);
    QTRY_COMPARE(folding.finished, 2);
    QCOMPARE(folding.window.size(), QSize(500, 438));
    QCOMPARE(folding.content.height(), 360);
    folding.window.resize(450, 350);
    folding.start(false);
    QTRY_COMPARE(folding.finished, 3);
    QCOMPARE(folding.window.size(), QSize(450, 312));
}

void OptionsFoldTest::aResizeByHandWhileItRunsLeavesNothingHalfDone() {
    Folding folding;
    folding.start(false);
    QTRY_VERIFY(folding.window.height() < 300);
    folding.window.resize(520, 420);
    QTRY_COMPARE(folding.finished, 1);
    // The folding controls the height until it ends, so only the width of the user's resize takes
    // effect.
    QCOMPARE(folding.window.size(), QSize(520, 262));
    QCOMPARE(folding.area.isVisible(), false);
    // After the folding, the size constraints are removed, and the content fills the window.
    QTRY_COMPARE(folding.controls.geometry().bottom() + 1, folding.window.height());
    QCOMPARE(folding.content.maximumHeight(), QWIDGETSIZE_MAX);
    folding.start(true);
    QTRY_COMPARE(folding.finished, 2);
    QCOMPARE(folding.window.size(), QSize(520, 300));
    QCOMPARE(folding.area.height(), 38);
    QCOMPARE(folding.area.geometry().bottom() + 1, folding.window.height());
}

void OptionsFoldTest::theContentCanBeResizedAfterwards() {
    Folding folding;
    folding.start(false);
    QTRY_COMPARE(folding.finished, 1);
    folding.window.resize(400, 500);
    QTRY_COMPARE(folding.content.height(), 460);
    folding.window.resize(400, 150);
    QTRY_COMPARE(folding.content.height(), 110);
}

void OptionsFoldTest::aWindowThatIsNotShownIsChangedAtOnce() {
    Folding folding;
    folding.window.hide();
    folding.start(false);
    QCOMPARE(folding.finished, 1);
    QCOMPARE(folding.window.height(), 262);
}

void OptionsFoldTest::aChangeBeforeTheDesktopAnsweredTheLastOneKeepsTheHeights() {
    Folding folding;
    // No event is processed between the two changes, so that no reply of the desktop can arrive.
    for (const bool open : {false, true}) {
        folding.start(open);
        folding.fold.complete();
    }
    QCOMPARE(folding.window.height(), 300);
    // Wait longer than the folding waits for a reply of the desktop.
    QTest::qWait(1500);
    QCOMPARE(folding.window.height(), 300);
    folding.start(false);
    folding.fold.complete();
    QCOMPARE(folding.window.height(), 262);
    QTRY_COMPARE(folding.content.height(), 222);
}

void OptionsFoldTest::aMaximizedWindowKeepsItsEdges() {
    Folding folding;
    folding.window.showMaximized();
    QTRY_VERIFY(folding.window.height() > 300);
    const QSize before = folding.window.size();
    folding.start(false);
    QCOMPARE(folding.finished, 1);
    QCOMPARE(folding.window.size(), before);
    QTRY_COMPARE(folding.content.height(), before.height() - 40);
    folding.start(true);
    QCOMPARE(folding.window.size(), before);
    QTRY_COMPARE(folding.content.height(), before.height() - 78);
}

void OptionsFoldTest::aWindowTakenByTheDesktopMeanwhileKeepsItsEdges_data() {
    QTest::addColumn<bool>("open");
    QTest::addColumn<Qt::WindowState>("state");
    QTest::newRow("folding, maximized") << false << Qt::WindowMaximized;
    QTest::newRow("folding, the whole screen") << false << Qt::WindowFullScreen;
    QTest::newRow("unfolding, maximized") << true << Qt::WindowMaximized;
    QTest::newRow("unfolding, the whole screen") << true << Qt::WindowFullScreen;
}

void OptionsFoldTest::aWindowTakenByTheDesktopMeanwhileKeepsItsEdges() {
    QFETCH(const bool, open);
    QFETCH(const Qt::WindowState, state);
    Folding folding;
    if (open) {
        folding.start(false);
        folding.fold.complete();
    }
    const int before = folding.window.height();
    const int finished = folding.finished;
    folding.start(open);
    QTRY_VERIFY(folding.window.height() != before);
    folding.window.setWindowState(state);
    QCOMPARE(folding.finished, finished + 1);
    QTRY_VERIFY(folding.window.height() > 300);
    const QSize taken = folding.window.size();
    Heights heights(folding.window);
    QTRY_COMPARE(folding.content.height(), taken.height() - (open ? 78 : 40));
    // Wait longer than a folding takes.
    QTest::qWait(300);
    QCOMPARE(heights.all, QList<int>());
    QCOMPARE(folding.window.windowState(), state);
    QCOMPARE(folding.finished, finished + 1);

    folding.window.setWindowState(Qt::WindowNoState);
    QTRY_COMPARE(folding.window.size(), QSize(400, open ? 300 : 262));
    QTRY_COMPARE(folding.content.height(), 222);
    // The interrupted change of the height is completed only once. If the user later chooses a
    // height between folded and open, that height stays.
    folding.window.resize(400, 281);
    QTest::qWait(50);
    QCOMPARE(folding.window.height(), 281);
}

void OptionsFoldTest::aWindowOfTheSmallestHeightTakenMeanwhileStaysTaken() {
    Folding folding;
    folding.window.resize(400, 150);
    folding.start(false);
    folding.fold.complete();
    folding.start(true);
    QTRY_VERIFY(folding.window.height() != 112);
    folding.window.setWindowState(Qt::WindowFullScreen);
    QTRY_COMPARE(folding.finished, 2);
    QTRY_VERIFY(folding.window.height() > 150);
    QCOMPARE(folding.window.windowState(), Qt::WindowFullScreen);
    QVERIFY(folding.window.normalGeometry().isValid());
    folding.window.setWindowState(Qt::WindowNoState);
    QTRY_COMPARE(folding.window.size(), QSize(400, 150));
}

void OptionsFoldTest::aHeightGivenMeanwhileIsLeftAlone() {
    Folding folding;
    folding.start(false);
    QTRY_VERIFY(folding.window.height() < 300);
    folding.window.showMaximized();
    QTRY_COMPARE(folding.finished, 1);
    folding.window.hide();
    folding.window.setWindowState(Qt::WindowNoState);
    folding.window.resize(500, 420);
    folding.window.show();
    QTest::qWait(50);
    QCOMPARE(folding.window.size(), QSize(500, 420));
    folding.window.resize(500, 281);
    QTest::qWait(50);
    QCOMPARE(folding.window.size(), QSize(500, 281));
}

void OptionsFoldTest::aWindowThatWouldLeaveTheScreenKeepsItsEdge() {
    Folding folding;
    folding.foldAbove(37);
    QTRY_COMPARE(folding.content.height(), 222);
    const QRect place = folding.window.geometry();
    folding.start(true);
    QTRY_COMPARE(folding.finished, 2);
    QTRY_COMPARE(folding.content.height(), 184);
    QCOMPARE(folding.window.geometry(), place);
    QCOMPARE(folding.area.geometry(), QRect(0, 224, 400, 38));
    folding.start(false);
    QTRY_COMPARE(folding.finished, 3);
    QTRY_COMPARE(folding.content.height(), 222);
    QCOMPARE(folding.window.geometry(), place);

    folding.foldAbove(38);
    folding.start(true);
    QTRY_COMPARE(folding.finished, 5);
    QCOMPARE(folding.window.height(), 300);
    QCOMPARE(folding.content.height(), 222);
    folding.start(false);
    QTRY_COMPARE(folding.finished, 6);
    QCOMPARE(folding.window.height(), 262);
}

void OptionsFoldTest::theContentGetsBackWhatItGaveWhereverTheWindowIsThen() {
    Folding folding;
    folding.foldAbove(0);
    folding.start(true);
    QTRY_COMPARE(folding.content.height(), 184);
    folding.window.move(0, 0);
    folding.start(false);
    QTRY_COMPARE(folding.content.height(), 222);
    QCOMPARE(folding.window.height(), 262);

    // If unfolding made the window higher, folding makes it lower again, also at the bottom of the
    // screen.
    folding.start(true);
    QTRY_COMPARE(folding.window.height(), 300);
    QTRY_COMPARE(folding.finished, 4);
    const QRect available = folding.window.screen()->availableGeometry();
    folding.window.move(0, available.bottom() + 1 - 300);
    folding.start(false);
    QTRY_COMPARE(folding.finished, 5);
    QCOMPARE(folding.window.height(), 262);
    QCOMPARE(folding.content.height(), 222);
}

void OptionsFoldTest::aLowWindowAtTheBottomOfTheScreenStaysAsLowAsItIs() {
    Folding folding;
    folding.foldAbove(0, 120);
    folding.start(true);
    QTRY_COMPARE(folding.content.height(), 42);
    QCOMPARE(folding.window.height(), 120);
    // Once the window is high enough, its usual minimum height applies again.
    folding.window.resize(400, 170);
    QTRY_COMPARE(folding.window.minimumHeight(), 150);
    folding.start(false);
    QTRY_COMPARE(folding.window.minimumHeight(), 112);
    QCOMPARE(folding.window.height(), 170);
}

void OptionsFoldTest::mayFoldAWindowOfTheSmallestHeight() {
    Folding folding;
    folding.window.resize(400, 150);
    folding.start(false);
    QTRY_COMPARE(folding.finished, 1);
    QCOMPARE(folding.window.height(), 112);
    folding.start(true);
    QTRY_COMPARE(folding.finished, 2);
    QCOMPARE(folding.window.height(), 150);
    QCOMPARE(folding.window.minimumHeight(), 150);
}

void OptionsFoldTest::endsWithItsOwner() {
    Folding folding;
    int finished = 0;
    {
        OptionsFold fold(&folding.window, &folding.content, &folding.area);
        fold.start(false, [&finished] { ++finished; });
    }
    QCOMPARE(finished, 1);
    QCOMPARE(folding.window.height(), 262);
}

void OptionsFoldTest::itsWindowMayGoWhileItRuns() {
    auto window = std::make_unique<QWidget>();
    auto *area = new QWidget(window.get());
    window->resize(300, 300);
    window->show();
    OptionsFold fold(window.get(), nullptr, area);
    int finished = 0;
    fold.start(false, [&finished] { ++finished; });
    window.reset();
    QTRY_COMPARE(finished, 1);
}

void OptionsFoldTest::withoutAWindowItOnlyFinishes() {
    OptionsFold fold(nullptr, nullptr, nullptr);
    int finished = 0;
    fold.start(false, [&finished] { ++finished; });
    fold.setLaidOut(true);
    fold.complete();
    QCOMPARE(finished, 1);
}

PELORIN_WIDGET_TEST_MAIN(OptionsFoldTest)
#include "OptionsFoldTest.moc"
