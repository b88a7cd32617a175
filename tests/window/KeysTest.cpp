// Key presses in the news window, sent through the window system's event queue like those of a real
// keyboard.

#include "TestMain.h"
#include "WindowFixture.h"

#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QShortcut>
#include <QTextBrowser>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

// Records the keys that reach a control with the focus.
class KeysSeen : public QObject {
public:
    explicit KeysSeen(QWidget &control) {
        control.setFocus();
        control.installEventFilter(this);
    }

    [[nodiscard]] QList<int> keys() const { return _keys; }

protected:
    bool eventFilter(QObject *, QEvent *event) override {
        if (event->type() != QEvent::KeyPress)
            return false;
        const int key = static_cast<QKeyEvent *>(event)->key();
        if (key != Qt::Key_Control && key != Qt::Key_Shift && key != Qt::Key_Alt)
            _keys.append(key);
        return false;
    }

private:
    QList<int> _keys;
};

}  // namespace

class KeysTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void closes_data();
    void closes();
    void staysOpen_data();
    void staysOpen();
    void copiesTheWholeItemAsRichTextOnly();
    void copiesTheValueWhereThePageIsNoDocument();
    void passesTheKeyOnWhenThereIsNothingToCopy();
    void otherKeysReachTheControl();
    void leavesEscapeToAnOpenMenu();
    void winsOverAShortcutOfTheHost();
    void stepsThroughTheItemsFromEveryControl();
    void stepsTheOtherWayFromRightToLeft();
    void stepsWithTheseModifiersOnly();
    void doesNotStepWhereOneItemIsAll();
    void keepsWhatIsTypedIntoThePage();

private:
    static QString tooMuchToCopy() { return QStringLiteral("<p>a</p>").repeated(300'000); }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers) {
        QTest::keyClick(_window->windowHandle(), key, modifiers);
    }

    [[nodiscard]] QString position() const { return _controller->itemIndicator()->text(); }

    std::unique_ptr<WindowFixture> _fixture;
    std::shared_ptr<OlvNewsWindowController> _controller;
    OlvNewsWindow *_window = nullptr;
};

void KeysTest::init() {
    _fixture = std::make_unique<WindowFixture>();
    _controller = _fixture->unshown(WindowFixture::items(3));
    _window = _controller->window();
    QVERIFY(_window);
    _controller->showWindow();
    QVERIFY(QTest::qWaitForWindowActive(_window, testPatience));
    QTRY_COMPARE(_controller->webView()->outerHTML(), QStringLiteral("<p>Body 1</p>"));
    QGuiApplication::clipboard()->clear();
}

void KeysTest::cleanup() {
    _controller.reset();
    _fixture.reset();
}

void KeysTest::closes_data() {
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    QTest::newRow("Escape") << Qt::Key_Escape << Qt::KeyboardModifiers();
    QTest::newRow("Escape of a keypad")
        << Qt::Key_Escape << Qt::KeyboardModifiers(Qt::KeypadModifier);
    QTest::newRow("Command-W") << Qt::Key_W << Qt::KeyboardModifiers(Qt::ControlModifier);
}

void KeysTest::closes() {
    QFETCH(const Qt::Key, key);
    QFETCH(const Qt::KeyboardModifiers, modifiers);
    press(key, modifiers);
    QVERIFY(!_window->isVisible());
    QCOMPARE(_controller->newsCache().sinceLastViewingCount(), 0);
}

void KeysTest::staysOpen_data() {
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    QTest::newRow("Option-Escape") << Qt::Key_Escape << Qt::KeyboardModifiers(Qt::AltModifier);
    QTest::newRow("Shift-Escape") << Qt::Key_Escape << Qt::KeyboardModifiers(Qt::ShiftModifier);
    QTest::newRow("Control-Escape") << Qt::Key_Escape << Qt::KeyboardModifiers(Qt::MetaModifier);
    QTest::newRow("W") << Qt::Key_W << Qt::KeyboardModifiers();
    QTest::newRow("Command-Shift-W")
        << Qt::Key_W << Qt::KeyboardModifiers(Qt::ControlModifier | Qt::ShiftModifier);
}

void KeysTest::staysOpen() {
    QFETCH(const Qt::Key, key);
    QFETCH(const Qt::KeyboardModifiers, modifiers);
    press(key, modifiers);
    QVERIFY(_window->isVisible());
}

void KeysTest::copiesTheWholeItemAsRichTextOnly() {
    press(Qt::Key_C, Qt::ControlModifier);
    const QMimeData *copied = QGuiApplication::clipboard()->mimeData();
    QVERIFY(copied);
    QVERIFY(!copied->hasText());
    for (const char *type : {"text/rtf", "text/richtext", "application/rtf"}) {
        const QByteArray rtf = copied->data(QLatin1String(type));
        QVERIFY(rtf.startsWith("{\\rtf1"));
        QVERIFY(rtf.contains("Body 1"));
    }
    QGuiApplication::clipboard()->clear();
    press(Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier);
    const QMimeData *left = QGuiApplication::clipboard()->mimeData();
    QVERIFY(!left || left->formats().isEmpty());
}

void KeysTest::copiesTheValueWhereThePageIsNoDocument() {
    _controller->webView()->loadHtmlString(tooMuchToCopy());
    press(Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("Plain 1"));
}

void KeysTest::passesTheKeyOnWhenThereIsNothingToCopy() {
    _controller->webView()->loadHtmlString(tooMuchToCopy());
    _controller->webView()->accessibilitySetValueForAttribute(QString(),
                                                              AccessibilityAttribute::Value);
    QKeyEvent event(QEvent::KeyPress, Qt::Key_C, Qt::ControlModifier);
    QVERIFY(!_controller->webView()->performKeyEquivalent(event));
    const KeysSeen seen(*_controller->optionsButton());
    press(Qt::Key_C, Qt::ControlModifier);
    QVERIFY(QGuiApplication::clipboard()->text().isEmpty());
    QCOMPARE(seen.keys(), QList<int>{Qt::Key_C});
}

void KeysTest::otherKeysReachTheControl() {
    const KeysSeen seen(*_controller->optionsButton());
    press(Qt::Key_C, Qt::ControlModifier);
    press(Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier);
    press(Qt::Key_W, {});
    press(Qt::Key_Escape, Qt::AltModifier);
    QCOMPARE(seen.keys(), (QList<int>{Qt::Key_C, Qt::Key_W, Qt::Key_Escape}));
}

void KeysTest::leavesEscapeToAnOpenMenu() {
    _controller->onOptionsButton();
    QTRY_VERIFY(_controller->displayContentFrom()->isVisible());
    _controller->displayContentFrom()->showPopup();
    QTRY_VERIFY(QApplication::activePopupWidget());
    QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Escape);
    QTRY_VERIFY(!QApplication::activePopupWidget());
    QVERIFY(_window->isVisible());
    _controller->onOptionsButton();
    press(Qt::Key_Escape, {});
    QVERIFY(!_window->isVisible());
}

void KeysTest::winsOverAShortcutOfTheHost() {
    QWidget host;
    host.show();
    int taken = 0;
    QShortcut shortcut(QKeySequence(Qt::CTRL | Qt::Key_W), &host);
    shortcut.setContext(Qt::ApplicationShortcut);
    connect(&shortcut, &QShortcut::activated, this, [&taken] { ++taken; });
    _window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(_window, testPatience));
    press(Qt::Key_W, Qt::ControlModifier);
    QVERIFY(!_window->isVisible());
    QCOMPARE(taken, 0);
    host.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&host, testPatience));
    QTest::keyClick(host.windowHandle(), Qt::Key_W, Qt::ControlModifier);
    QCOMPARE(taken, 1);
}

void KeysTest::stepsThroughTheItemsFromEveryControl() {
    _controller->onOptionsButton();
    QTRY_VERIFY(_controller->displayContentFrom()->isVisible());
    const QList<QWidget *> controls{
        _controller->webView(),           _controller->optionsButton(),
        _controller->showOnStart(),       _controller->previousItem(),
        _controller->nextItem(),          _controller->displayContentType(),
        _controller->displayContentFrom()};
    for (QWidget *control : controls) {
        const KeysSeen seen(*control);
        press(Qt::Key_Right, Qt::AltModifier);
        QCOMPARE(position(), QStringLiteral("2 / 3"));
        press(Qt::Key_Left, Qt::AltModifier | Qt::KeypadModifier);
        QCOMPARE(position(), QStringLiteral("1 / 3"));
        QCOMPARE(QApplication::focusWidget(), control);
        QCOMPARE(seen.keys(), QList<int>());
    }
    press(Qt::Key_Left, Qt::AltModifier);
    QCOMPARE(position(), QStringLiteral("3 / 3"));
    _controller->onOptionsButton();
    QTRY_VERIFY(_controller->displayContentFrom()->isHidden());
}

void KeysTest::stepsTheOtherWayFromRightToLeft() {
    _window->setLayoutDirection(Qt::RightToLeft);
    press(Qt::Key_Left, Qt::AltModifier);
    QCOMPARE(position(), QStringLiteral("2 / 3"));
    press(Qt::Key_Right, Qt::AltModifier);
    QCOMPARE(position(), QStringLiteral("1 / 3"));
}

void KeysTest::stepsWithTheseModifiersOnly() {
    for (const Qt::KeyboardModifiers modifiers :
         {Qt::KeyboardModifiers(Qt::AltModifier | Qt::ShiftModifier),
          Qt::KeyboardModifiers(Qt::AltModifier | Qt::ControlModifier),
          Qt::KeyboardModifiers(Qt::ControlModifier), Qt::KeyboardModifiers(Qt::MetaModifier)})
        press(Qt::Key_Right, modifiers);
    press(Qt::Key_Right, {});
    QCOMPARE(position(), QStringLiteral("1 / 3"));
}

void KeysTest::doesNotStepWhereOneItemIsAll() {
    _fixture->serve(WindowFixture::items(1));
    _controller->newsCache().refresh([](const std::optional<Error> &) {});
    WindowFixture::settle(*_controller);
    _controller->configuration().setNewsFilter(NewsFilter::All);
    _controller->applyFilter();
    _controller->refreshControls();
    QCOMPARE(position(), QStringLiteral("1 / 1"));
    const KeysSeen seen(*_controller->webView());
    press(Qt::Key_Right, Qt::AltModifier);
    QCOMPARE(position(), QStringLiteral("1 / 1"));
    QCOMPARE(seen.keys(), QList<int>());
}

void KeysTest::keepsWhatIsTypedIntoThePage() {
    const KeysSeen seen(*_controller->webView());
    // The page of the text renderer has no fields: pretend that it has one.
    QWidget *page = _controller->webView()->findChild<QTextBrowser *>();
    QVERIFY(page);
    page->setAttribute(Qt::WA_InputMethodEnabled);
    press(Qt::Key_Right, Qt::AltModifier);
    press(Qt::Key_Left, Qt::AltModifier);
    QCOMPARE(position(), QStringLiteral("1 / 3"));
    QCOMPARE(seen.keys(), QList<int>());
    _controller->nextItem()->setFocus();
    press(Qt::Key_Right, Qt::AltModifier);
    QCOMPARE(position(), QStringLiteral("2 / 3"));
}

PELORIN_WIDGET_TEST_MAIN(KeysTest)
#include "KeysTest.moc"
