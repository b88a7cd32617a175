// The page receives the user's input: keys, mouse, drops, input methods. The desktop receives what
// the page makes of it: open lists, selected text, cursor shapes, tooltips, the focus.

#include "RendererFixture.h"
#include "TestMain.h"
#include "rendering/PagePopup.h"
#include "rendering/PageWidget.h"

#include <QClipboard>
#include <QDropEvent>
#include <QInputMethodEvent>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QScreen>
#include <QTextCharFormat>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

// The field and the list are at the upper left, each 100 pixels high.
const QString field =
    QStringLiteral("<input id=field style='display:block;width:300px;height:100px'>");
const QString list = QStringLiteral(
    "<select id=field style='display:block;width:300px;height:100px'><option>One<option>Two"
    "<option>Three</select>");

}  // namespace

class InputTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { _fixture = std::make_unique<RendererFixture>(Painter::Web); }
    void cleanup() { _fixture.reset(); }

    void typesIntoAField();
    void pastesAndCutsInAField();
    void pastesRightAfterAClick();
    void pastesWithoutStyle();
    void pastesThePrimarySelection();
    void pastesIntoClickedFieldsOnly();
    void pastesIntoNoLaterPage();
    void takesADroppedText();
    void ignoresADropBesideAField();
    void composesTextOfAnInputMethod();
    void marksTheClausesOfAComposition();
    void tellsAnInputMethodOfTheField();
    void claimsTheKeysOfAFieldOnly();
    void choosesFromAListByKeys();
    void choosesFromAListByMouse();
    void opensAListWhereItsWindowWasMoved();
    void closesAListByAClickBesideIt();
    void keepsAListOnTheScreen();
    void putsSelectedTextIntoThePrimarySelection();
    void selectsNothingForAPageAlone();
    void showsTheCursorOfALink();
    void showsToolTipsAsPlainText();
    void movesTheFocusThroughThePageAndOut();
    void losesNoKeyWhileThePageChanges();
    void cutsTextThoughAnotherKeyFollows();
    void leavesDraggedTextAtItsSource();
    void leavesTextDraggedByMouseAtItsSource();

private:
    void show(const QString &body, QPoint painted = {480, 280}) {
        _fixture->load(page(QStringLiteral("<div style='font-size:40px'>") + body));
        _fixture->waitForColour(painted, ground);
    }
    void click(QPoint place = {50, 50}) const { _fixture->click(place); }
    // Clicks the field and waits until it takes text.
    void enter() const {
        click();
        QTRY_VERIFY(_fixture->view.inputMethodQuery(Qt::ImEnabled).toBool());
    }
    [[nodiscard]] QString value() const {
        return _fixture->evaluated(QStringLiteral("document.getElementById('field').value"))
            .toString();
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const {
        QTest::keyClick(_fixture->view.windowHandle(), key, modifiers);
    }
    void drop(const QString &text, QPoint place) const {
        QMimeData data;
        data.setText(text);
        QDragEnterEvent coming(place, Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(_fixture->target(), &coming);
        QVERIFY(coming.isAccepted());
        QDropEvent drop(place, Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(_fixture->target(), &drop);
    }
    [[nodiscard]] static PagePopup *openList() {
        return qobject_cast<PagePopup *>(QApplication::activePopupWidget());
    }

    std::unique_ptr<RendererFixture> _fixture;
};

void InputTest::typesIntoAField() {
    show(field);
    enter();
    QTest::keyClicks(&_fixture->view, QStringLiteral("aB c"));
    press(Qt::Key_Backspace);
    QKeyEvent accented(QEvent::KeyPress, Qt::Key_Eacute, {}, QStringLiteral("\u00e9"));
    QApplication::sendEvent(&_fixture->view, &accented);
    QTRY_COMPARE(value(), QStringLiteral("aB \u00e9"));
}

void InputTest::pastesAndCutsInAField() {
    QClipboard *clipboard = QApplication::clipboard();
    clipboard->setText(QStringLiteral("pasted \u4e00"));
    show(field);
    enter();
    press(Qt::Key_V, Qt::ControlModifier);
    QTRY_COMPARE(value(), QStringLiteral("pasted \u4e00"));
    clipboard->setText(QStringLiteral("another"));
    press(Qt::Key_A, Qt::ControlModifier);
    press(Qt::Key_X, Qt::ControlModifier);
    QTRY_COMPARE(value(), QString());
    QTRY_COMPARE(clipboard->text(), QStringLiteral("pasted \u4e00"));
}

void InputTest::pastesRightAfterAClick() {
    QApplication::clipboard()->setText(QStringLiteral("pasted"));
    show(field);
    click();
    press(Qt::Key_V, Qt::ControlModifier);
    QTRY_COMPARE(value(), QStringLiteral("pasted"));
}

// The engine pastes with Ctrl+Shift+V, too.
void InputTest::pastesWithoutStyle() {
    show(field);
    enter();
    QApplication::clipboard()->setText(QStringLiteral("one"));
    press(Qt::Key_V, Qt::ControlModifier | Qt::ShiftModifier);
    QTRY_COMPARE(value(), QStringLiteral("one"));
    QApplication::clipboard()->setText(QStringLiteral("two"));
    press(Qt::Key_V, Qt::ControlModifier | Qt::ShiftModifier);
    QTRY_COMPARE(value(), QStringLiteral("onetwo"));
}

void InputTest::pastesThePrimarySelection() {
    QClipboard *clipboard = QApplication::clipboard();
    clipboard->setText(QStringLiteral("two\nlines"), QClipboard::Selection);
    show(field + QStringLiteral("<a href=link style='display:block;height:100px'>Link</a>"));
    enter();
    // Beside a field, nothing is pasted, not even into the one that had the focus.
    _fixture->click({400, 50}, Qt::MiddleButton);
    _fixture->click({50, 150}, Qt::MiddleButton);
    _fixture->click({50, 50}, Qt::MiddleButton);
    QTRY_COMPARE(value(), QStringLiteral("two lines"));
    press(Qt::Key_End);
    press(Qt::Key_Z);
    QTRY_COMPARE(value(), QStringLiteral("two linesz"));
    // With a movement between press and release, it is no click.
    QTest::mousePress(_fixture->target(), Qt::MiddleButton, {}, QPoint(20, 50));
    QTest::mouseMove(_fixture->target(), QPoint(250, 50));
    QTest::mouseRelease(_fixture->target(), Qt::MiddleButton, {}, QPoint(250, 50));
    press(Qt::Key_End);
    press(Qt::Key_X);
    QTRY_COMPARE(value(), QStringLiteral("two lineszx"));
}

// A click on a scroll bar leaves the focus where it is.
void InputTest::pastesIntoClickedFieldsOnly() {
    QApplication::clipboard()->setText(QStringLiteral("primary"), QClipboard::Selection);
    show(field + QStringLiteral("<p>row").repeated(100));
    enter();
    _fixture->click({495, 200}, Qt::MiddleButton);
    const auto isScrolled = [this] {
        return _fixture->evaluated(QStringLiteral("scrollY > 0")).toBool();
    };
    QTRY_VERIFY(isScrolled());
    press(Qt::Key_X);
    QTRY_COMPARE(value(), QStringLiteral("x"));
}

void InputTest::pastesIntoNoLaterPage() {
    QApplication::clipboard()->setText(QStringLiteral("primary"), QClipboard::Selection);
    const QString next =
        page(QStringLiteral("<div style='height:200px'></div><input id=field autofocus>Next"));
    for (int i = 0; i < 5; ++i) {
        show(QStringLiteral("The page"));
        _fixture->view.loadHtmlString(next);
        QTest::qWait(i);
        _fixture->click({300, 100}, Qt::MiddleButton);
        QTRY_VERIFY(_fixture->text().contains(QStringLiteral("Next")));
        // Keys are kept until the page is painted. Give a paste, which would be wrong, its time.
        _fixture->waitForColour({480, 280}, ground);
        QTest::qWait(200);
        QCOMPARE(value(), QString());
    }
}

void InputTest::takesADroppedText() {
    show(field);
    enter();
    drop(QStringLiteral("dropped"), {50, 50});
    QTRY_COMPARE(value(), QStringLiteral("dropped"));
}

void InputTest::ignoresADropBesideAField() {
    show(field);
    enter();
    const QJsonValue loads = _fixture->engine().state()[u"loadsStarted"];
    _fixture->questions.clear();
    drop(QStringLiteral("http://127.0.0.1:9/dropped"), {400, 250});
    drop(QStringLiteral("second"), {50, 50});
    QTRY_COMPARE(value(), QStringLiteral("second"));
    QCOMPARE(_fixture->engine().state()[u"loadsStarted"], loads);
    QCOMPARE(_fixture->questions, QList<RendererFixture::Question>());
}

void InputTest::composesTextOfAnInputMethod() {
    show(field);
    enter();
    QInputMethodEvent composing(QStringLiteral("\u306b"), {});
    QApplication::sendEvent(&_fixture->view, &composing);
    QTRY_COMPARE(value(), QStringLiteral("\u306b"));
    QInputMethodEvent done;
    done.setCommitString(QStringLiteral("\u65e5\u672c"));
    QApplication::sendEvent(&_fixture->view, &done);
    QTRY_COMPARE(value(), QStringLiteral("\u65e5\u672c"));
    QInputMethodEvent again(QStringLiteral("x"), {});
    QApplication::sendEvent(&_fixture->view, &again);
    QTRY_COMPARE(value(), QStringLiteral("\u65e5\u672cx"));
    QInputMethodEvent cancelled;
    QApplication::sendEvent(&_fixture->view, &cancelled);
    QTRY_COMPARE(value(), QStringLiteral("\u65e5\u672c"));
}

void InputTest::marksTheClausesOfAComposition() {
    show(
        QStringLiteral("<input id=field style='display:block;width:300px;height:100px;padding:0;"
                       "border:0;font:40px monospace'>"));
    enter();
    QTextCharFormat plain;
    plain.setUnderlineStyle(QTextCharFormat::SingleUnderline);
    QTextCharFormat marked = plain;
    marked.setBackground(QColor(255, 0, 0));
    const auto compose = [&](const QTextCharFormat &ofSecond) {
        QInputMethodEvent composing(QStringLiteral("        "),
                                    {{QInputMethodEvent::TextFormat, 0, 4, plain},
                                     {QInputMethodEvent::TextFormat, 4, 4, ofSecond},
                                     {QInputMethodEvent::Cursor, 0, 0, {}}});
        QApplication::sendEvent(&_fixture->view, &composing);
    };
    // Each character is about 24 pixels wide.
    const auto isUnderlined = [this](int x) {
        const QImage column = _fixture->screen().copy(x, 10, 1, 80);
        return column != QImage(column).scaled(1, 1).scaled(1, 80);
    };
    compose(plain);
    QTRY_VERIFY(isUnderlined(50) && isUnderlined(150));
    compose(marked);
    QTRY_VERIFY(!isUnderlined(50) && isUnderlined(150));
}

void InputTest::tellsAnInputMethodOfTheField() {
    show(QStringLiteral("<div style='height:150px'>Text</div>") + field);
    QVERIFY(!_fixture->view.inputMethodQuery(Qt::ImEnabled).toBool());
    click({50, 200});
    QTRY_VERIFY(_fixture->view.inputMethodQuery(Qt::ImEnabled).toBool());
    QTest::keyClicks(&_fixture->view, QStringLiteral("some"));
    QTRY_COMPARE(_fixture->view.inputMethodQuery(Qt::ImSurroundingText).toString(),
                 QStringLiteral("some"));
    QTRY_COMPARE(_fixture->view.inputMethodQuery(Qt::ImCursorPosition).toInt(), 4);
    const auto cursor = [this] {
        return _fixture->view.inputMethodQuery(Qt::ImCursorRectangle).toRect();
    };
    QTRY_VERIFY(QRect(0, 150, 300, 100).contains(cursor().center()));
    QVERIFY(cursor().height() > 5);
    press(Qt::Key_Left, Qt::ShiftModifier);
    QTRY_COMPARE(_fixture->view.inputMethodQuery(Qt::ImCursorPosition).toInt(), 3);
    QTRY_COMPARE(_fixture->view.inputMethodQuery(Qt::ImAnchorPosition).toInt(), 4);
    // Enlarged to 150 %, the field is at y = 225.
    const QKeyEvent larger(QEvent::KeyPress, Qt::Key_Plus, Qt::ControlModifier);
    for (int i = 0; i < 3; ++i)
        QVERIFY(_fixture->view.performKeyEquivalent(larger));
    QTRY_VERIFY(QRect(0, 225, 450, 75).contains(cursor().center()));
    click({480, 50});
    QTRY_VERIFY(!_fixture->view.inputMethodQuery(Qt::ImEnabled).toBool());
}

void InputTest::claimsTheKeysOfAFieldOnly() {
    const auto isClaimed = [this](Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QKeyEvent event(QEvent::ShortcutOverride, key, modifiers);
        event.ignore();
        QApplication::sendEvent(&_fixture->view, &event);
        return event.isAccepted();
    };
    show(field);
    QVERIFY(!isClaimed(Qt::Key_A));
    enter();
    QVERIFY(isClaimed(Qt::Key_A));
    QVERIFY(isClaimed(Qt::Key_Delete));
    QVERIFY(isClaimed(Qt::Key_A, Qt::ControlModifier));
    QVERIFY(isClaimed(Qt::Key_Z, Qt::ControlModifier));
    QVERIFY(!isClaimed(Qt::Key_Q, Qt::ControlModifier));
    QVERIFY(!isClaimed(Qt::Key_F5));
    QVERIFY(!isClaimed(Qt::Key_Escape));
    click({400, 200});
    QTRY_VERIFY(!isClaimed(Qt::Key_A));
}

void InputTest::choosesFromAListByKeys() {
    show(list);
    click();
    QTRY_VERIFY(openList() != nullptr);
    QTest::keyClick(openList(), Qt::Key_Down);
    QTest::keyClick(openList(), Qt::Key_Down);
    QTest::keyClick(openList(), Qt::Key_Return);
    QTRY_COMPARE(value(), QStringLiteral("Three"));
    QTRY_VERIFY(openList() == nullptr);
}

void InputTest::choosesFromAListByMouse() {
    show(list);
    click();
    QTRY_VERIFY(openList() != nullptr);
    const QRect place = openList()->geometry();
    const QRect fieldsPlace(_fixture->view.mapToGlobal(QPoint(0, 0)), QSize(300, 100));
    QCOMPARE(place.left(), fieldsPlace.left());
    QCOMPARE(place.top(), fieldsPlace.bottom() + 1);
    QVERIFY(place.width() >= 300);
    // The list is painted: it is not of one colour.
    const auto isPainted = [&] {
        const QImage image = _fixture->view.screen()
                                 ->grabWindow(openList()->winId())
                                 .toImage()
                                 .convertToFormat(QImage::Format_RGB32);
        return image != QImage() &&
               image.copy(0, 0, 60, image.height()) != image.copy(100, 0, 60, image.height());
    };
    QTRY_VERIFY(isPainted());
    const QPoint second(50, place.height() / 2);
    QTest::mouseMove(openList(), second);
    QTest::mouseClick(openList(), Qt::LeftButton, {}, second);
    QTRY_COMPARE(value(), QStringLiteral("Two"));
    QTRY_VERIFY(openList() == nullptr);
}

void InputTest::opensAListWhereItsWindowWasMoved() {
    show(list);
    for (const QPoint place : {QPoint(20, 30), QPoint(300, 200), QPoint(100, 60)}) {
        const QPoint before = _fixture->view.mapToGlobal(QPoint());
        _fixture->view.move(place);
        QTRY_VERIFY(_fixture->view.mapToGlobal(QPoint()) != before);
        _fixture->waitForColour({480, 280}, ground);
        click();
        QTRY_VERIFY(openList() != nullptr);
        QCOMPARE(openList()->geometry().left(), _fixture->view.mapToGlobal(QPoint()).x());
        press(Qt::Key_Escape);
        QTRY_VERIFY(openList() == nullptr);
    }
}

void InputTest::closesAListByAClickBesideIt() {
    show(list);
    for (int i = 0; i < 3; ++i) {
        click();
        QTRY_VERIFY(openList() != nullptr);
        QTest::mouseClick(openList(), Qt::LeftButton, {}, QPoint(400, -20));
        QTRY_VERIFY(openList() == nullptr);
        QTest::qWait(100);
    }
    QCOMPARE(value(), QStringLiteral("One"));
}

void InputTest::keepsAListOnTheScreen() {
    const QRect screen = _fixture->view.screen()->geometry();
    _fixture->view.move(screen.right() - 400, screen.bottom() - 200);
    show(QStringLiteral("<div style='height:150px'>Text</div>") + list, {350, 100});
    click({50, 200});
    QTRY_VERIFY(openList() != nullptr);
    QVERIFY(screen.contains(openList()->geometry()));
    // The list opens above the field, where there is room.
    QVERIFY(openList()->geometry().bottom() < _fixture->view.mapToGlobal(QPoint(0, 150)).y() + 1);
}

void InputTest::putsSelectedTextIntoThePrimarySelection() {
    const QClipboard *clipboard = QApplication::clipboard();
    QVERIFY(clipboard->supportsSelection());
    show(QStringLiteral("Words"));
    const QPoint place = _fixture->target()->mapToGlobal(QPoint(30, 25));
    QProcess::execute(
        QStringLiteral("xdotool"),
        {QStringLiteral("mousemove"), QString::number(place.x()), QString::number(place.y()),
         QStringLiteral("click"), QStringLiteral("--repeat"), QStringLiteral("2"),
         QStringLiteral("--delay"), QStringLiteral("50"), QStringLiteral("1")});
    QTRY_COMPARE(clipboard->text(QClipboard::Selection), QStringLiteral("Words"));
}

void InputTest::selectsNothingForAPageAlone() {
    QClipboard *clipboard = QApplication::clipboard();
    clipboard->setText(QStringLiteral("before"), QClipboard::Selection);
    show(QStringLiteral("Words"));
    static_cast<void>(
        _fixture->evaluated(QStringLiteral("getSelection().selectAllChildren(document.body);0")));
    QTest::qWait(300);
    QCOMPARE(clipboard->text(QClipboard::Selection), QStringLiteral("before"));
}

void InputTest::showsTheCursorOfALink() {
    show(QStringLiteral("<a href=a style='display:block;height:100px'>A link</a>"));
    QTest::mouseMove(_fixture->target(), QPoint(50, 50));
    QTRY_COMPARE(_fixture->target()->cursor().shape(), Qt::PointingHandCursor);
    QTest::mouseMove(_fixture->target(), QPoint(400, 250));
    QTRY_COMPARE(_fixture->target()->cursor().shape(), Qt::ArrowCursor);
}

void InputTest::showsToolTipsAsPlainText() {
    show(QStringLiteral("<p style='height:100px' title='A &lt;b>tip&lt;/b>'>Text"));
    QTest::mouseMove(_fixture->target(), QPoint(50, 80));
    QTRY_VERIFY(_fixture->target()->toolTip().contains(QStringLiteral("A &lt;b&gt;tip")));
    QTest::mouseMove(_fixture->target(), QPoint(400, 280));
    QTRY_COMPARE(_fixture->target()->toolTip(), QString());
}

void InputTest::movesTheFocusThroughThePageAndOut() {
    QWidget window;
    QPushButton before(QStringLiteral("Before"), &window);
    OlvNewsWebView view(&window);
    view.setProgramFolder(QStringLiteral(PELORIN_PAGE_PROCESS_DIR));
    QPushButton after(QStringLiteral("After"), &window);
    window.resize(500, 300);
    before.setGeometry(0, 0, 100, 30);
    view.setGeometry(0, 30, 500, 200);
    after.setGeometry(0, 240, 100, 30);
    _fixture.reset();
    EngineAccess::instance().forgetConnections();
    view.loadHtmlString(QStringLiteral("<a id=one href=a>One</a> <a id=two href=b>Two</a>"));
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window, testPatience));
    Engine engine;
    const auto focused = [&engine] {
        return engine.ask(QStringLiteral("evaluate"), QStringLiteral("document.activeElement.id"))
            .toString();
    };
    QTRY_COMPARE(engine.ask(QStringLiteral("text")).toString(), QStringLiteral("One Two"));
    before.setFocus();
    const auto tab = [&window](bool isForward) {
        QTest::keyClick(window.windowHandle(), isForward ? Qt::Key_Tab : Qt::Key_Backtab,
                        isForward ? Qt::NoModifier : Qt::ShiftModifier);
    };
    tab(true);
    QCOMPARE(window.focusWidget(), &view);
    QTRY_COMPARE(focused(), QStringLiteral("one"));
    tab(true);
    QTRY_COMPARE(focused(), QStringLiteral("two"));
    QCOMPARE(window.focusWidget(), &view);
    tab(true);
    QTRY_COMPARE(window.focusWidget(), &after);
    tab(false);
    QTRY_COMPARE(window.focusWidget(), &view);
    QTRY_COMPARE(focused(), QStringLiteral("two"));
    tab(false);
    QTRY_COMPARE(focused(), QStringLiteral("one"));
    tab(false);
    QTRY_COMPARE(window.focusWidget(), &before);
}

// Tab leaves a page without links. Alone, the engine loses keys that come while it replaces a page.
void InputTest::losesNoKeyWhileThePageChanges() {
    QWidget window;
    QPushButton after(QStringLiteral("After"), &window);
    _fixture->view.setParent(&window);
    _fixture->view.setGeometry(0, 0, 500, 200);
    after.setGeometry(0, 240, 100, 30);
    window.setTabOrder(&_fixture->view, &after);
    window.resize(500, 300);
    window.show();
    _fixture->view.show();
    QVERIFY(QTest::qWaitForWindowActive(&window, testPatience));
    for (int i = 0; i < 40; ++i) {
        _fixture->view.setFocus();
        _fixture->view.loadHtmlString(QStringLiteral("<p>Page %1").arg(i));
        QTest::qWait(i % 10);
        QTest::keyClick(window.windowHandle(), Qt::Key_Tab);
        QTRY_COMPARE(window.focusWidget(), &after);
    }
    _fixture->view.setParent(nullptr);
}

void InputTest::cutsTextThoughAnotherKeyFollows() {
    QApplication::clipboard()->setText(QStringLiteral("before"));
    show(field);
    enter();
    QTest::keyClicks(&_fixture->view, QStringLiteral("mine"));
    QTRY_COMPARE(value(), QStringLiteral("mine"));
    press(Qt::Key_A, Qt::ControlModifier);
    press(Qt::Key_X, Qt::ControlModifier);
    press(Qt::Key_Z);
    QTRY_COMPARE(QApplication::clipboard()->text(), QStringLiteral("mine"));
    QTRY_COMPARE(value(), QStringLiteral("z"));
}

// A source deletes its text if the target reports a move.
void InputTest::leavesDraggedTextAtItsSource() {
    show(field);
    QMimeData data;
    data.setText(QStringLiteral("dragged"));
    const auto dragged = [&](Qt::DropActions possible) {
        QDragEnterEvent coming({400, 250}, possible, &data, Qt::LeftButton, {});
        coming.setDropAction(Qt::MoveAction);
        coming.ignore();
        QApplication::sendEvent(_fixture->target(), &coming);
        return coming.isAccepted() ? coming.dropAction() : Qt::IgnoreAction;
    };
    QCOMPARE(dragged(Qt::CopyAction | Qt::MoveAction), Qt::CopyAction);
    QCOMPARE(dragged(Qt::MoveAction), Qt::IgnoreAction);
    QDropEvent drop({400, 250}, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
    drop.setDropAction(Qt::MoveAction);
    QApplication::sendEvent(_fixture->target(), &drop);
    QCOMPARE(drop.dropAction(), Qt::CopyAction);
}

// With the mouse, from an editor, which offers to move its text.
void InputTest::leavesTextDraggedByMouseAtItsSource() {
    show(field);
    QPlainTextEdit source;
    source.setGeometry(550, 50, 200, 100);
    source.setPlainText(QStringLiteral("dragged"));
    source.show();
    QVERIFY(QTest::qWaitForWindowActive(&source, testPatience));
    for (const QPoint target : {QPoint(400, 250), QPoint(50, 50)}) {
        source.selectAll();
        QStringList command;
        const auto add = [&command](const QStringList &words) { command += words; };
        const auto move = [&add](QPoint place) {
            add({QStringLiteral("mousemove"), QString::number(place.x()),
                 QString::number(place.y()), QStringLiteral("sleep"), QStringLiteral("0.1")});
        };
        const QPoint start = source.mapToGlobal(source.cursorRect().center() - QPoint(20, 0));
        const QPoint end = _fixture->view.mapToGlobal(target);
        move(start);
        add({QStringLiteral("mousedown"), QStringLiteral("1")});
        for (int step = 1; step <= 5; ++step)
            move(start + (end - start) * step / 5);
        move(end + QPoint(1, 1));
        add({QStringLiteral("mouseup"), QStringLiteral("1")});
        QProcess mouse;
        mouse.start(QStringLiteral("xdotool"), command);
        QTRY_COMPARE(mouse.state(), QProcess::NotRunning);
        QCOMPARE(mouse.exitCode(), 0);
    }
    QTRY_COMPARE(value(), QStringLiteral("dragged"));
    QCOMPARE(source.toPlainText(), QStringLiteral("dragged"));
}

PELORIN_WIDGET_TEST_MAIN(InputTest)
#include "InputTest.moc"
