// The window's keys, pressed on a real keyboard: physical keys, whatever letter they have in a
// language.

#include "PanelTestMain.h"
#include "Program.h"

#include <QFile>

using namespace pelorinnews::test;

class KeysTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { panel.reset(); }

    void reachTheWindowFromEveryControl();
    void countByTheirPlaceInEveryLayout();
    void modifiersThatDoNotBelongMakeAnotherKey();
    void capsLockMakesNoDifference();
    void escapeClosesAnOpenListFirst();
    void keysOfNoUseEndInThePage();

private:
    // The keycodes of the physical keys.
    static constexpr auto placeOfC = "54";
    static constexpr auto placeOfW = "25";
    static constexpr auto control = "37";

    /// Presses the copy shortcut with this physical key; returns whether the item reached the
    /// clipboard. A key that is pressed while the display switches to another layout may be lost,
    /// so it is pressed again.
    [[nodiscard]] bool copies(const char *key) const {
        constexpr int attempts = 5;
        const auto hasCome = [] {
            return Screen::clipboard(QStringLiteral("text/rtf")).contains("Item 1");
        };
        Screen::clearClipboard();
        for (int attempt = 0; attempt < attempts; ++attempt) {
            pressPlace(key);
            if (QTest::qWaitFor(hasCome, testPatience / attempts))
                return true;
        }
        return false;
    }
    void pressPlace(const char *key) const {
        Screen::activate(panel->window);
        Screen::press(QLatin1String(control) + QLatin1Char('+') + QLatin1String(key));
    }

    std::unique_ptr<Panel> panel;
};

void KeysTest::init() {
    panel = std::make_unique<Panel>();
    QVERIFY(panel->open(Panel::items(2)));
}

void KeysTest::reachTheWindowFromEveryControl() {
    QVERIFY(panel->click("push button", "Show options"));
    QTRY_VERIFY(panel->object("combo box", "All").is("showing"));
    panel->clickIntoThePage();
    // In reading order, and back to the first.
    const QStringList order{QStringLiteral("label Item 1"),
                            QStringLiteral("push button Hide options"),
                            QStringLiteral("check box Show news on start"),
                            QStringLiteral("push button Previous news item"),
                            QStringLiteral("push button Next news item"),
                            QStringLiteral("combo box All news"),
                            QStringLiteral("combo box All"),
                            QStringLiteral("label Item 1")};
    for (const QString &expected : order) {
        QTRY_COMPARE(panel->focus(), expected);
        QVERIFY2(copies("c"), qPrintable(expected));
        panel->press("Tab");
    }
    // And each of them closes the window.
    for (int steps = 0; steps < order.size() - 1; ++steps) {
        QTRY_VERIFY(panel->isOpen());
        panel->clickIntoThePage();
        for (int step = 0; step < steps; ++step)
            panel->press("Tab");
        QTRY_COMPARE(panel->focus(), order[steps]);
        panel->press(steps % 2 == 0 ? "Escape" : "ctrl+w");
        QTRY_VERIFY2(!panel->isOpen(), qPrintable(order[steps]));
        QVERIFY(panel->desktop.hostIsRunning());
        QVERIFY(panel->reopen());
        QTRY_COMPARE(panel->text(), QStringLiteral("Item 1"));
    }
}

void KeysTest::countByTheirPlaceInEveryLayout() {
    panel->clickIntoThePage();
    for (const char *layout : {"fr", "ru", "us(dvorak)"}) {
        const QString name = QLatin1String(layout).left(2);
        QStringList arguments{QStringLiteral("-layout"), name};
        if (QLatin1String(layout).contains(QLatin1String("dvorak")))
            arguments << QStringLiteral("-variant") << QStringLiteral("dvorak");
        outputOf(QStringLiteral("setxkbmap"), arguments);
        QVERIFY2(copies(placeOfC), layout);
    }
    // In this layout the letter W is elsewhere, and its place has another letter.
    Screen::press(panel->window, QStringLiteral("ctrl+w"));
    QTest::qWait(1000);
    QVERIFY(panel->isOpen());
    pressPlace(placeOfW);
    QTRY_VERIFY(!panel->isOpen());
}

void KeysTest::modifiersThatDoNotBelongMakeAnotherKey() {
    panel->clickIntoThePage();
    Screen::clearClipboard();
    for (const char *key : {"shift+ctrl+c", "ctrl+alt+c", "super+c"})
        panel->press(key);
    for (const char *key :
         {"ctrl+shift+w", "ctrl+alt+w", "w", "shift+Escape", "alt+Escape", "ctrl+Escape"})
        panel->press(key);
    // The keys have reached the window: the focus is on the next control.
    Screen::activate(panel->window);
    panel->press("Tab");
    QTRY_COMPARE(panel->focus(), QStringLiteral("push button Show options"));
    QVERIFY(panel->isOpen());
    QVERIFY(!Screen::clipboard(QStringLiteral("TARGETS")).contains("rtf"));
}

void KeysTest::capsLockMakesNoDifference() {
    panel->clickIntoThePage();
    panel->press("Caps_Lock");
    const bool copied = copies(placeOfC);
    panel->press("Escape");
    Screen::press(QStringLiteral("Caps_Lock"));
    QVERIFY(copied);
    QTRY_VERIFY(!panel->isOpen());
    QVERIFY(panel->desktop.hostIsRunning());
}

void KeysTest::escapeClosesAnOpenListFirst() {
    QVERIFY(panel->click("push button", "Show options"));
    QTRY_VERIFY(panel->object("combo box", "All").is("showing"));
    QVERIFY(panel->click("combo box", "All"));
    QTRY_VERIFY(panel->listIsOpen());
    Screen::press(QStringLiteral("Escape"));
    QTRY_VERIFY(!panel->listIsOpen());
    QVERIFY(panel->isOpen());
    QCOMPARE(panel->focus(), QStringLiteral("combo box All"));
    Screen::press(QStringLiteral("Escape"));
    QTRY_VERIFY(!panel->isOpen());
}

void KeysTest::keysOfNoUseEndInThePage() {
    panel->clickIntoThePage();
    for (const char *key : {"x", "F7", "ctrl+j"})
        panel->press(key);
    // If a key were forwarded back and forth between page and window, it would use all CPU time:
    // two seconds have 200 kernel ticks.
    const auto ticks = [this] {
        QFile file(QStringLiteral("/proc/%1/stat").arg(panel->desktop.hostProcess()));
        if (!file.open(QFile::ReadOnly))
            return -1000;
        const QList<QByteArray> fields = file.readAll().split(' ');
        return fields.value(13).toInt() + fields.value(14).toInt();
    };
    const auto isAtRest = [&ticks] {
        const int before = ticks();
        QTest::qWait(2000);
        return ticks() - before < 40;
    };
    QTRY_VERIFY(isAtRest());
}

PELORIN_PANEL_TEST_MAIN(KeysTest)
#include "KeysTest.moc"
