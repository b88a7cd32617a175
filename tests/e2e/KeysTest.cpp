// The window's keyboard shortcuts, pressed as physical keys: a key's place counts, not the letter
// that the keyboard layout gives it.

#include "PanelTestMain.h"
#include "Program.h"

#include <QElapsedTimer>
#include <QFile>

using namespace pelorinnews::test;

class KeysTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void cleanupTestCase() { _panel.reset(); }

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
        Screen::activate(_panel->window);
        Screen::press(QLatin1String(control) + QLatin1Char('+') + QLatin1String(key));
    }

    std::unique_ptr<Panel> _panel;
};

// All functions use one host until one of them fails. Each begins with an open window and folded
// options.
void KeysTest::init() {
    if (!_panel) {
        _panel = std::make_unique<Panel>();
        QVERIFY(_panel->open(Panel::items(2)));
        return;
    }
    QVERIFY(_panel->isOpen() || _panel->reopen());
    if (!_panel->object("push button", "Hide options").role.isEmpty())
        Assistive::press(_panel->desktop.hostProcess(), QStringLiteral("Hide options"));
    QTRY_COMPARE(_panel->object("push button", "Show options").role, QStringLiteral("push button"));
    QTRY_COMPARE(_panel->text(), QStringLiteral("Item 1"));
}

void KeysTest::cleanup() {
    if (QTest::currentTestFailed())
        _panel.reset();
}

void KeysTest::reachTheWindowFromEveryControl() {
    QVERIFY(_panel->click("push button", "Show options"));
    QTRY_VERIFY(_panel->object("combo box", "All").is("showing"));
    _panel->clickIntoThePage();
    // Tab goes through the controls in reading order, and from the last one back to the first.
    const QStringList order{QStringLiteral("label Item 1"),
                            QStringLiteral("push button Hide options"),
                            QStringLiteral("check box Show news on start"),
                            QStringLiteral("push button Previous news item"),
                            QStringLiteral("push button Next news item"),
                            QStringLiteral("combo box All news"),
                            QStringLiteral("combo box All"),
                            QStringLiteral("label Item 1")};
    for (const QString &expected : order) {
        QTRY_COMPARE(_panel->focus(), expected);
        QVERIFY2(copies("c"), qPrintable(expected));
        _panel->press("Tab");
    }
    // The keys that step work from each control.
    for (int steps = 0; steps < order.size() - 1; ++steps) {
        _panel->press("alt+Right");
        QTRY_COMPARE(_panel->position(), QStringLiteral("2 / 2"));
        _panel->press("alt+Left");
        QTRY_COMPARE(_panel->position(), QStringLiteral("1 / 2"));
        _panel->press("Tab");
    }
    // The keys that close the window work from each control, too.
    for (int steps = 0; steps < order.size() - 1; ++steps) {
        QTRY_VERIFY(_panel->isOpen());
        _panel->clickIntoThePage();
        if (steps > 0)
            _panel->press(QStringList(steps, QStringLiteral("Tab")));
        QTRY_COMPARE(_panel->focus(), order[steps]);
        _panel->press(steps % 2 == 0 ? "Escape" : "ctrl+w");
        QTRY_VERIFY2(!_panel->isOpen(), qPrintable(order[steps]));
        QVERIFY(_panel->desktop.hostIsRunning());
        QVERIFY(_panel->reopen());
        QTRY_COMPARE(_panel->text(), QStringLiteral("Item 1"));
    }
}

void KeysTest::countByTheirPlaceInEveryLayout() {
    _panel->clickIntoThePage();
    for (const char *layout : {"fr", "ru", "us(dvorak)"}) {
        const QString name = QLatin1String(layout).left(2);
        QStringList arguments{QStringLiteral("-layout"), name};
        if (QLatin1String(layout).contains(QLatin1String("dvorak")))
            arguments << QStringLiteral("-variant") << QStringLiteral("dvorak");
        outputOf(QStringLiteral("setxkbmap"), arguments);
        QVERIFY2(copies(placeOfC), layout);
    }
    // In Dvorak, the last layout, the letter W is on another physical key. That key does not close
    // the window.
    _panel->press("ctrl+w");
    // Tab moves the focus. Once it has, the window has also processed the key before it.
    _panel->press("Tab");
    QTRY_COMPARE(_panel->focus(), QStringLiteral("push button Show options"));
    QVERIFY(_panel->isOpen());
    pressPlace(placeOfW);
    QTRY_VERIFY(!_panel->isOpen());
}

void KeysTest::modifiersThatDoNotBelongMakeAnotherKey() {
    _panel->clickIntoThePage();
    Screen::clearClipboard();
    for (const char *key : {"shift+ctrl+c", "ctrl+alt+c", "super+c"})
        _panel->press(key);
    for (const char *key :
         {"ctrl+shift+w", "ctrl+alt+w", "w", "shift+Escape", "alt+Escape", "ctrl+Escape"})
        _panel->press(key);
    // Tab moves the focus. Once it has, the window has also processed the keys before it.
    Screen::activate(_panel->window);
    _panel->press("Tab");
    QTRY_COMPARE(_panel->focus(), QStringLiteral("push button Show options"));
    QVERIFY(_panel->isOpen());
    QVERIFY(!Screen::clipboard(QStringLiteral("TARGETS")).contains("rtf"));
}

void KeysTest::capsLockMakesNoDifference() {
    _panel->clickIntoThePage();
    _panel->press("Caps_Lock");
    const bool copied = copies(placeOfC);
    _panel->press("Escape");
    Screen::press(QStringLiteral("Caps_Lock"));
    QVERIFY(copied);
    QTRY_VERIFY(!_panel->isOpen());
    QVERIFY(_panel->desktop.hostIsRunning());
}

void KeysTest::escapeClosesAnOpenListFirst() {
    QVERIFY(_panel->click("push button", "Show options"));
    QTRY_VERIFY(_panel->object("combo box", "All").is("showing"));
    QVERIFY(_panel->click("combo box", "All"));
    QTRY_VERIFY(_panel->listIsOpen());
    Screen::press(QStringLiteral("Escape"));
    QTRY_VERIFY(!_panel->listIsOpen());
    QVERIFY(_panel->isOpen());
    QCOMPARE(_panel->focus(), QStringLiteral("combo box All"));
    Screen::press(QStringLiteral("Escape"));
    QTRY_VERIFY(!_panel->isOpen());
}

void KeysTest::keysOfNoUseEndInThePage() {
    _panel->clickIntoThePage();
    for (const char *key : {"x", "F7", "ctrl+j"})
        _panel->press(key);
    // If page and window forwarded a key to each other without end, the host's main thread would
    // always be running or waiting for a CPU. Measure that thread alone: the search for copies of
    // the host, on another thread, may take longer than this test.
    const auto busyNanoseconds = [this]() -> qint64 {
        const qint64 host = _panel->desktop.hostProcess();
        QFile file(QStringLiteral("/proc/%1/task/%1/schedstat").arg(host));
        if (!file.open(QFile::ReadOnly))
            return 0;
        const QList<QByteArray> fields = file.readAll().split(' ');
        return fields.value(0).toLongLong() + fields.value(1).toLongLong();
    };
    const auto isAtRest = [&busyNanoseconds] {
        QElapsedTimer clock;
        clock.start();
        const qint64 before = busyNanoseconds();
        QTest::qWait(500);
        const qint64 after = busyNanoseconds();
        return before > 0 && after >= before && after - before < clock.nsecsElapsed() / 10;
    };
    QVERIFY(QTest::qWaitFor(isAtRest, testPatience));
}

PELORIN_PANEL_TEST_MAIN(KeysTest)
#include "KeysTest.moc"
