// The news window as assistive software sees it, through a client of the accessibility bus.

#include "PanelTestMain.h"

#include <algorithm>

using namespace pelorinnews::test;
using Assistive::Object;

class AccessibilityTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { _panel = std::make_unique<Panel>(); }
    void cleanup() { _panel.reset(); }

    void theContentIsOneTextThatClientsMaySet();
    void everyControlSaysWhatItIs();
    void everyNameIsInTheUsersLanguage();
    void nothingThatTakesTheFocusIsNameless();
    void eachItemIsTold();
    void whatControlsBecomeIsTold();
    void theFocusIsToldByName();
    void aValueThatIsNotToBeReadStays();

private:
    static constexpr auto nameChange = "object:property-change:accessible-name";

    [[nodiscard]] QList<QString> names(const char *role) const {
        QStringList all;
        for (const Object &each : _panel->objects()) {
            if (each.role == QLatin1String(role) && each.is("showing"))
                all.append(each.name);
        }
        return all;
    }
    [[nodiscard]] bool isTold(Assistive::Listener &listener, const char *type,
                              const QString &name) const {
        return QTest::qWaitFor([&] { return listener.count(QLatin1String(type), name) > 0; },
                               testPatience);
    }

    std::unique_ptr<Panel> _panel;
};

void AccessibilityTest::theContentIsOneTextThatClientsMaySet() {
    QVERIFY(_panel->open(Panel::items(2)));
    const QList<Object> all = _panel->objects();
    QCOMPARE(
        std::count_if(all.begin(), all.end(), [](const Object &each) { return each.takesText; }),
        1);
    const auto content =
        std::find_if(all.begin(), all.end(), [](const Object &each) { return each.takesText; });
    QCOMPARE(content->role, QStringLiteral("label"));
    QCOMPARE(content->name, QStringLiteral("Item 1"));
    QCOMPARE(content->text, QStringLiteral("Item 1"));
    for (const char *state : {"focusable", "showing", "enabled", "multi-line"})
        QVERIFY2(content->is(state), state);
    // The content view has no children: the next object in the tree is not below it.
    QVERIFY((content + 1)->depth <= content->depth);

    const QString written = QStringLiteral("Gr\u00fc\u00dfe \U0001f4f0 twice");
    Assistive::write(_panel->desktop.hostProcess(), written);
    QTRY_COMPARE(_panel->text(), written);
    QCOMPARE(_panel->content().name, written);
    // Without a text, the content view reports a fixed one to assistive software.
    Assistive::write(_panel->desktop.hostProcess(), QString());
    QTRY_COMPARE(_panel->text(), QStringLiteral("Pelorin News content"));
    QCOMPARE(_panel->content().name, QStringLiteral("Pelorin News content"));
    // The next item replaces the fixed text.
    QVERIFY(_panel->click("push button", "Next news item"));
    QTRY_COMPARE(_panel->text(), QStringLiteral("Item 2"));
}

void AccessibilityTest::everyControlSaysWhatItIs() {
    QVERIFY(_panel->open(Panel::items(2)));
    QCOMPARE(_panel->objects().first().role, QStringLiteral("frame"));
    QVERIFY(_panel->objects().first().is("active"));
    QCOMPARE(names("push button"),
             QStringList({QStringLiteral("Show options"), QStringLiteral("Previous news item"),
                          QStringLiteral("Next news item")}));
    const Object box = _panel->object("check box", "Show news on start");
    for (const char *state : {"checked", "enabled", "sensitive", "focusable"})
        QVERIFY2(box.is(state), state);
    QVERIFY(!box.is("expandable"));
    QCOMPARE(box.actions.value(QStringLiteral("Toggle")), QStringLiteral("Alt+S"));
    Object triangle = _panel->object("push button", "Show options");
    QVERIFY(triangle.is("expandable") && triangle.is("collapsed") && !triangle.is("expanded"));
    QCOMPARE(names("combo box"), QStringList());

    Assistive::press(_panel->desktop.hostProcess(), QStringLiteral("Show options"));
    QTRY_COMPARE(names("combo box"),
                 QStringList({QStringLiteral("All news"), QStringLiteral("All")}));
    QTRY_VERIFY((triangle = _panel->object("push button", "Hide options")).is("expanded"));
    QVERIFY(!triangle.is("collapsed"));
    QCOMPARE(_panel->object("combo box", "All news").labels, QStringList{QStringLiteral("Type:")});
    QCOMPARE(_panel->object("combo box", "All").labels, QStringList{QStringLiteral("Show:")});
    for (const char *menu : {"All news", "All"}) {
        const Object found = _panel->object("combo box", menu);
        for (const char *state : {"enabled", "sensitive", "focusable", "expandable"})
            QVERIFY2(found.is(state), state);
        QVERIFY(!found.is("expanded") && !found.is("editable"));
        QCOMPARE(found.text, QLatin1String(menu));
        QVERIFY(!found.takesText);
    }
    for (const char *button : {"Hide options", "Previous news item", "Next news item"}) {
        for (const char *state : {"enabled", "sensitive", "focusable"})
            QVERIFY2(_panel->object("push button", button).is(state), button);
    }

    Assistive::press(_panel->desktop.hostProcess(), QStringLiteral("Next news item"));
    QTRY_COMPARE(_panel->position(), QStringLiteral("2 / 2"));
}

void AccessibilityTest::everyNameIsInTheUsersLanguage() {
    _panel->setLanguage({QStringLiteral("LANGUAGE=de")}, QStringLiteral("de"));
    QVERIFY(_panel->open(Panel::items(2)));
    QCOMPARE(names("push button"), QStringList({QStringLiteral("Optionen einblenden"),
                                                QStringLiteral("Vorherige Neuigkeit"),
                                                QStringLiteral("N\u00e4chste Neuigkeit")}));
    QCOMPARE(names("check box"), QStringList{QStringLiteral("Neuigkeiten beim Start anzeigen")});
    Assistive::press(_panel->desktop.hostProcess(), QStringLiteral("Optionen einblenden"));
    QTRY_COMPARE(names("combo box"),
                 QStringList({QStringLiteral("Alle Neuigkeiten"), QStringLiteral("Alle")}));
    QTRY_COMPARE(names("push button").first(), QStringLiteral("Optionen ausblenden"));
    QCOMPARE(_panel->object("combo box", "Alle").labels, QStringList{QStringLiteral("Anzeigen:")});
    QCOMPARE(_panel->object("combo box", "Alle Neuigkeiten").labels,
             QStringList{QStringLiteral("Art:")});
}

void AccessibilityTest::nothingThatTakesTheFocusIsNameless() {
    QVERIFY(_panel->open(Panel::items(1)));
    Assistive::press(_panel->desktop.hostProcess(), QStringLiteral("Show options"));
    QTRY_VERIFY(_panel->object("combo box", "All").is("showing"));
    for (const Object &each : _panel->objects())
        QVERIFY2(!each.is("focusable") || !each.name.isEmpty(), qPrintable(each.role));
    // The host has only these two windows: the web engine adds none.
    QStringList windows;
    for (const Object &each : Assistive::tree(_panel->desktop.hostProcess())) {
        if (each.depth == 0)
            windows.append(each.role + QLatin1Char(' ') + each.name);
    }
    QCOMPARE(windows,
             QStringList({QStringLiteral("frame Pelorin"), QStringLiteral("frame Pelorin News")}));
}

void AccessibilityTest::eachItemIsTold() {
    QVERIFY(_panel->open(Panel::items(2)));
    Assistive::Listener listener(_panel->desktop.hostProcess());
    QVERIFY(_panel->click("push button", "Next news item"));
    QVERIFY(isTold(listener, nameChange, QStringLiteral("Item 2")));
    const auto said = [&listener](const char *type) {
        QStringList all;
        for (const Assistive::Event &each : listener.events()) {
            if (each.type.startsWith(QLatin1String(type)) && each.name == QLatin1String("Item 2"))
                all.append(each.said);
        }
        return all;
    };
    QTRY_COMPARE(said("object:text-changed:insert"), QStringList{QStringLiteral("Item 2")});
    QCOMPARE(said("object:text-changed:delete"), QStringList{QStringLiteral("Item 1")});

    // Setting the same text again also sends events.
    Assistive::write(_panel->desktop.hostProcess(), QStringLiteral("Item 2"));
    QTRY_VERIFY(said("object:text-changed:insert").size() > 1);
    QCOMPARE(said("object:text-changed:delete").last(), QStringLiteral("Item 2"));
    QCOMPARE(said("object:text-changed:insert").last(), QStringLiteral("Item 2"));
    QTRY_VERIFY(listener.count(QLatin1String(nameChange), QStringLiteral("Item 2")) > 1);
}

void AccessibilityTest::whatControlsBecomeIsTold() {
    QList<FeedItem> news = Panel::items(2);
    news.last().category = QStringLiteral("mac pelorin critical");
    QVERIFY(_panel->open(news));
    Assistive::press(_panel->desktop.hostProcess(), QStringLiteral("Show options"));
    QTRY_VERIFY(_panel->object("combo box", "All news").is("showing"));
    Assistive::Listener listener(_panel->desktop.hostProcess());
    const auto told = [&listener](const char *state) {
        QStringList all;
        for (const Assistive::Event &each : listener.events()) {
            if (each.type == QLatin1String("object:state-changed:") + QLatin1String(state))
                all.append(QString::number(each.detail) + QLatin1Char(' ') + each.name);
        }
        all.sort();
        return all;
    };
    _panel->press("alt+s");
    QStringList checked{QStringLiteral("0 Show news on start")};
    QTRY_COMPARE(told("checked"), checked);
    _panel->press("space");
    checked.append(QStringLiteral("1 Show news on start"));
    QTRY_COMPARE(told("checked"), checked);

    // The filter leaves one of the two items, so the buttons for stepping are disabled.
    _panel->press("alt+t");
    _panel->press("Down");
    QStringList able{QStringLiteral("0 Next news item"), QStringLiteral("0 Previous news item")};
    for (const char *state : {"enabled", "sensitive"})
        QTRY_COMPARE(told(state), able);
    QVERIFY(isTold(listener, nameChange, QStringLiteral("Critical only")));
    QVERIFY(isTold(listener, "object:selection-changed", QStringLiteral("Critical only")));
    const auto saidByMenu = [&listener](const char *type) {
        QStringList all;
        for (const Assistive::Event &each : listener.events()) {
            if (each.type.startsWith(QLatin1String(type)) &&
                each.role == QLatin1String("combo box"))
                all.append(each.said);
        }
        return all;
    };
    QTRY_COMPARE(saidByMenu("object:text-changed:delete"), QStringList{QStringLiteral("All news")});
    QTRY_COMPARE(saidByMenu("object:text-changed:insert"),
                 QStringList{QStringLiteral("Critical only")});
    QVERIFY(isTold(listener, "object:state-changed:focused", QStringLiteral("Critical only")));
    QVERIFY(isTold(listener, nameChange, QStringLiteral("1 / 1")));
    _panel->press("Up");
    able << QStringLiteral("1 Next news item") << QStringLiteral("1 Previous news item");
    for (const char *state : {"enabled", "sensitive"})
        QTRY_COMPARE(told(state), able);
    QVERIFY(isTold(listener, nameChange, QStringLiteral("1 / 2")));
    QCOMPARE(told("checked"), checked);
}

void AccessibilityTest::theFocusIsToldByName() {
    QVERIFY(_panel->open(Panel::items(2)));
    QTRY_COMPARE(_panel->focus(), QStringLiteral("label Item 1"));
    Assistive::Listener listener(_panel->desktop.hostProcess());
    const auto focused = [&listener] {
        QStringList all;
        for (const Assistive::Event &each : listener.events()) {
            if (each.type == QLatin1String("object:state-changed:focused") && each.detail == 1)
                all.append(each.role + QLatin1Char(' ') + each.name);
        }
        return all;
    };
    QStringList expected;
    for (const char *next :
         {"push button Show options", "check box Show news on start",
          "push button Previous news item", "push button Next news item", "label Item 1"}) {
        _panel->press("Tab");
        expected.append(QLatin1String(next));
        QTRY_COMPARE(focused(), expected);
    }
    // Give a control the focus by clicking it, then click into the page.
    QVERIFY(_panel->click("push button", "Next news item"));
    QTRY_COMPARE(_panel->text(), QStringLiteral("Item 2"));
    _panel->clickIntoThePage();
    expected << QStringLiteral("push button Next news item") << QStringLiteral("label Item 2");
    QTRY_COMPARE(focused(), expected);

    // If the item changes while the page has the focus, the focus event is sent again, since screen
    // readers speak the object that gets the focus.
    Assistive::press(_panel->desktop.hostProcess(), QStringLiteral("Next news item"));
    expected << QStringLiteral("label Item 1");
    QTRY_COMPARE(focused(), expected);
    _panel->press("Tab");
    _panel->press("space");
    expected << QStringLiteral("push button Show options")
             << QStringLiteral("push button Hide options");
    QTRY_COMPARE(focused(), expected);

    // The window sends an activation event when it opens again.
    _panel->press("Escape");
    QTRY_VERIFY(!_panel->isOpen());
    QVERIFY(_panel->reopen());
    QVERIFY(isTold(listener, "window:activate", QStringLiteral("Pelorin News")));
}

void AccessibilityTest::aValueThatIsNotToBeReadStays() {
    _panel->desktop.prefer(QStringLiteral("newsReadItemContent"), false);
    QList<FeedItem> news = Panel::items(2);
    news.first().plainText = QStringLiteral("News item");
    QVERIFY(_panel->open(news));
    QVERIFY(_panel->click("push button", "Next news item"));
    QTRY_COMPARE(_panel->position(), QStringLiteral("2 / 2"));
    QCOMPARE(_panel->text(), QStringLiteral("News item"));
}

PELORIN_PANEL_TEST_MAIN(AccessibilityTest)
#include "AccessibilityTest.moc"
