#include "TestMain.h"
#include "window/KeyEquivalent.h"

#include <QTest>

namespace pelorinnews {

namespace {

QKeyEvent press(quint32 scanCode, int key, Qt::KeyboardModifiers modifiers) {
    return {QEvent::KeyPress, key, modifiers, scanCode, 0, 0};
}

}  // namespace

class KeyEquivalentTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void recognisesItsPress_data();
    void recognisesItsPress();
    void leavesOtherEventsAlone_data();
    void leavesOtherEventsAlone();
};

void KeyEquivalentTest::recognisesItsPress_data() {
    QTest::addColumn<KeyEquivalent>("equivalent");
    QTest::addColumn<quint32>("scanCode");
    QTest::addColumn<int>("key");
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    QTest::addColumn<bool>("recognised");

    const Qt::KeyboardModifiers none = Qt::NoModifier;
    const Qt::KeyboardModifiers command = Qt::ControlModifier;
    const auto row = [](const char *name, const KeyEquivalent &equivalent, quint32 scanCode,
                        int key, Qt::KeyboardModifiers modifiers, bool recognised) {
        QTest::newRow(name) << equivalent << scanCode << key << modifiers << recognised;
    };
    row("Command-C", copyKeyEquivalent, 54, Qt::Key_C, command, true);
    row("C", copyKeyEquivalent, 54, Qt::Key_C, none, false);
    row("Command-Shift-C", copyKeyEquivalent, 54, Qt::Key_C, command | Qt::ShiftModifier, false);
    row("Command-Option-C", copyKeyEquivalent, 54, Qt::Key_C, command | Qt::AltModifier, false);
    row("Command-Control-C", copyKeyEquivalent, 54, Qt::Key_C, command | Qt::MetaModifier, false);
    row("Control-C", copyKeyEquivalent, 54, Qt::Key_C, Qt::MetaModifier, false);
    row("Command-W for copying", copyKeyEquivalent, 25, Qt::Key_W, command, false);
    row("Command-W", closeKeyEquivalent, 25, Qt::Key_W, command, true);
    row("W", closeKeyEquivalent, 25, Qt::Key_W, none, false);
    row("Command-Shift-W", closeKeyEquivalent, 25, Qt::Key_W, command | Qt::ShiftModifier, false);
    row("Escape", escapeKeyEquivalent, 9, Qt::Key_Escape, none, true);
    row("Option-Escape", escapeKeyEquivalent, 9, Qt::Key_Escape, Qt::AltModifier, false);
    row("Shift-Escape", escapeKeyEquivalent, 9, Qt::Key_Escape, Qt::ShiftModifier, false);
    row("Control-Escape", escapeKeyEquivalent, 9, Qt::Key_Escape, Qt::MetaModifier, false);
    row("Command-Escape", escapeKeyEquivalent, 9, Qt::Key_Escape, command, false);
    // Modifiers that make no difference. Caps Lock is not among them: Qt reports it not as a
    // modifier, but by a changed character.
    row("Escape, keypad", escapeKeyEquivalent, 9, Qt::Key_Escape, Qt::KeypadModifier, true);
    row("Command-C, group switch", copyKeyEquivalent, 54, Qt::Key_C,
        command | Qt::GroupSwitchModifier, true);
    // On a Dvorak keyboard the physical key of C gives J, and the physical key of I gives C.
    row("the place of C in another layout", copyKeyEquivalent, 54, Qt::Key_J, command, true);
    row("C at another place", copyKeyEquivalent, 31, Qt::Key_C, command, false);
    row("the place of W, Cyrillic", closeKeyEquivalent, 25, 0x426, command, true);
    row("Escape moved to Caps Lock's place", escapeKeyEquivalent, 66, Qt::Key_Escape, none, false);
    row("no scan code, the key", copyKeyEquivalent, 0, Qt::Key_C, command, true);
    row("no scan code, another key", copyKeyEquivalent, 0, Qt::Key_J, command, false);
    row("no scan code, wrong modifiers", closeKeyEquivalent, 0, Qt::Key_W, none, false);
    row("no scan code, Escape", escapeKeyEquivalent, 0, Qt::Key_Escape, none, true);
}

void KeyEquivalentTest::recognisesItsPress() {
    QFETCH(KeyEquivalent, equivalent);
    QFETCH(quint32, scanCode);
    QFETCH(int, key);
    QFETCH(Qt::KeyboardModifiers, modifiers);
    QFETCH(bool, recognised);
    QCOMPARE(isKeyEquivalent(press(scanCode, key, modifiers), equivalent), recognised);
}

void KeyEquivalentTest::leavesOtherEventsAlone_data() {
    QTest::addColumn<QEvent::Type>("type");
    QTest::addColumn<bool>("recognised");
    QTest::newRow("press") << QEvent::KeyPress << true;
    QTest::newRow("the question before it") << QEvent::ShortcutOverride << true;
    QTest::newRow("release") << QEvent::KeyRelease << false;
}

void KeyEquivalentTest::leavesOtherEventsAlone() {
    QFETCH(QEvent::Type, type);
    QFETCH(bool, recognised);
    const QKeyEvent event(type, Qt::Key_Escape, Qt::NoModifier, 9, 0, 0);
    QCOMPARE(isKeyEquivalent(event, escapeKeyEquivalent), recognised);
}

}  // namespace pelorinnews

PELORIN_CORE_TEST_MAIN(pelorinnews::KeyEquivalentTest)
#include "KeyEquivalentTest.moc"
