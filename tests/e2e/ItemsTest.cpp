// Stepping through the items, filtering them with the menus, and following their links.

#include "PanelTestMain.h"

using namespace pelorinnews::test;

class ItemsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { _panel = std::make_unique<Panel>(); }
    void cleanup() { _panel.reset(); }

    void buttonsGoRoundInBothDirections();
    void aSingleItemLeadsNowhere();
    void aPageSaysWhyThereIsNoItem_data();
    void aPageSaysWhyThereIsNoItem();
    void menusChooseByMouseAndByKeyboard();
    void theCheckBoxIsStored();
    void linksOpenInTheUsersBrowser();

private:
    /// Waits until this item is shown at this position.
    [[nodiscard]] bool becomes(const char *text, const char *position) const {
        const QStringList expected{QLatin1String(text), QLatin1String(position)};
        QStringList shown;
        const auto isShown = [&] {
            shown = {_panel->text(), _panel->position()};
            return shown == expected;
        };
        if (QTest::qWaitFor(isShown, testPatience))
            return true;
        qWarning() << "shown is" << shown << "instead of" << expected;
        return false;
    }
    [[nodiscard]] QString chosen(int menu) const {
        QStringList all;
        for (const auto &each : _panel->objects()) {
            if (each.role == QLatin1String("combo box") && each.is("showing"))
                all.append(each.name);
        }
        return all.value(menu);
    }

    std::unique_ptr<Panel> _panel;
};

void ItemsTest::buttonsGoRoundInBothDirections() {
    QVERIFY(_panel->open(Panel::items(3)));
    QVERIFY(becomes("Item 1", "1 / 3"));
    QVERIFY(_panel->click("push button", "Next news item"));
    QVERIFY(becomes("Item 2", "2 / 3"));
    QVERIFY(_panel->click("push button", "Next news item"));
    QVERIFY(becomes("Item 3", "3 / 3"));
    QVERIFY(_panel->click("push button", "Next news item"));
    QVERIFY(becomes("Item 1", "1 / 3"));
    QVERIFY(_panel->click("push button", "Previous news item"));
    QVERIFY(becomes("Item 3", "3 / 3"));
    // The button now has the focus, so pressing Space does the same as the click.
    _panel->press("space");
    QVERIFY(becomes("Item 2", "2 / 3"));
    _panel->press("Tab");
    _panel->press("space");
    QVERIFY(becomes("Item 3", "3 / 3"));
}

void ItemsTest::aSingleItemLeadsNowhere() {
    QVERIFY(_panel->open(Panel::items(1)));
    QVERIFY(becomes("Item 1", "1 / 1"));
    for (const char *name : {"Previous news item", "Next news item"}) {
        QVERIFY(!_panel->object("push button", name).is("enabled"));
        QVERIFY(_panel->click("push button", name));
    }
    _panel->clickIntoThePage();
    QTRY_VERIFY(_panel->focus().startsWith(QStringLiteral("label ")));
    QVERIFY(becomes("Item 1", "1 / 1"));
}

void ItemsTest::aPageSaysWhyThereIsNoItem_data() {
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("status");
    QTest::newRow("unreachable")
        << QStringLiteral("newsFeedBaseURL") << QVariant(QStringLiteral("https://127.0.0.1:1/"))
        << QStringLiteral(
               "There is no news here yet. It is fetched again from time to time while this "
               "window is closed; close it and look again later.");
    QTest::newRow("none of the chosen type") << QStringLiteral("newsTypeFilter") << QVariant(2)
                                             << QStringLiteral("No news matches your selection.");
}

void ItemsTest::aPageSaysWhyThereIsNoItem() {
    QFETCH(const QString, key);
    QFETCH(const QVariant, value);
    QFETCH(const QString, status);
    _panel->desktop.prefer(key, value);
    _panel->begin(Panel::items(2));
    QTRY_VERIFY(!_panel->desktop.window(QStringLiteral("Pelorin")).isEmpty());
    QVERIFY(_panel->reopen());
    // A window that opens before the first refresh has completed keeps saying that news is being
    // fetched. So the test closes and reopens it.
    const auto saysWhy = [&] {
        if (_panel->text() == status)
            return true;
        _panel->press("Escape");
        return !QTest::qWaitFor([&] { return !_panel->isOpen(); }, testPatience) ||
               !_panel->reopen();
    };
    QTRY_VERIFY(saysWhy());
    QTRY_COMPARE(_panel->text(), status);
    for (const char *name : {"Previous news item", "Next news item"}) {
        const Assistive::Object button = _panel->object("push button", name);
        QVERIFY(button.is("showing") && !button.is("enabled"));
    }
    QCOMPARE(_panel->position(), QString());
    // The whole status text is painted, not only its first word, which would not reach so far
    // right.
    const QRect part(180, 4, 100, 28);
    QTRY_VERIFY(Screen::colours(_panel->window, part) > 4);
    // Nothing else is painted on the page.
    const QRect page = _panel->content().place;
    QCOMPARE(Screen::colours(_panel->window, QRect(0, 100, page.width(), page.height() - 100)), 1);
}

void ItemsTest::menusChooseByMouseAndByKeyboard() {
    QList<FeedItem> news = Panel::items(4);
    news[1].category = QStringLiteral("mac pelorin critical");
    news[3].date = news[3].date.addDays(-40);
    QVERIFY(_panel->open(news));
    QVERIFY(_panel->click("push button", "Show options"));
    QTRY_COMPARE(chosen(0), QStringLiteral("All news"));
    QCOMPARE(chosen(1), QStringLiteral("All"));
    QVERIFY(_panel->click("push button", "Next news item"));
    QVERIFY(becomes("Item 2", "2 / 4"));

    // Choose by mouse: open the list and click an entry.
    QVERIFY(_panel->click("combo box", "All"));
    QTRY_VERIFY(_panel->listIsOpen());
    QVERIFY(_panel->click("list item", "Last 30 days"));
    QVERIFY(becomes("Item 1", "1 / 3"));
    QCOMPARE(chosen(1), QStringLiteral("Last 30 days"));
    QTRY_COMPARE(_panel->desktop.preference(QStringLiteral("newsFilter")).toInt(), 2);

    // Choose by keyboard, first with the menu's list closed, then with the list open.
    _panel->press("shift+Tab");
    QTRY_COMPARE(_panel->focus(), QStringLiteral("combo box All news"));
    _panel->press("Down");
    QVERIFY(becomes("Item 2", "1 / 1"));
    QTRY_COMPARE(_panel->desktop.preference(QStringLiteral("newsTypeFilter")).toInt(), 2);
    _panel->press("space");
    QTRY_VERIFY(_panel->listIsOpen());
    Screen::press(QStringLiteral("Up"));
    Screen::press(QStringLiteral("Return"));
    QVERIFY(becomes("Item 1", "1 / 3"));
    QTRY_COMPARE(_panel->desktop.preference(QStringLiteral("newsTypeFilter")).toInt(), 1);
    QVERIFY(_panel->object("push button", "Next news item").is("enabled"));
}

void ItemsTest::theCheckBoxIsStored() {
    QVERIFY(_panel->open(Panel::items(2)));
    const QString key = QStringLiteral("newsShowOnStart");
    QVERIFY(_panel->object("check box", "Show news on start").is("checked"));
    QVERIFY(_panel->click("check box", "Show news on start"));
    QTRY_COMPARE(_panel->desktop.preference(key).toString(), QStringLiteral("false"));
    QVERIFY(!_panel->object("check box", "Show news on start").is("checked"));
    _panel->press("space");
    QTRY_COMPARE(_panel->desktop.preference(key).toString(), QStringLiteral("true"));
    // The check box's access key works from anywhere in the window.
    _panel->clickIntoThePage();
    _panel->press("alt+s");
    QTRY_COMPARE(_panel->desktop.preference(key).toString(), QStringLiteral("false"));
}

void ItemsTest::linksOpenInTheUsersBrowser() {
    QList<FeedItem> news = Panel::items(2);
    const QString page = QStringLiteral(
        "<body bgcolor='%1'><a href='%2'><font size='7'>A long link to follow</font></a></body>");
    news[0].html = page.arg(QStringLiteral("#20c040"),
                            QStringLiteral("https://news.invalid/one?a=1&amp;b=2#three"));
    news[1].html = page.arg(QStringLiteral("#c04020"), QStringLiteral("relative.html"));
    _panel->desktop.installBrowser();
    QVERIFY(_panel->open(news));
    const QPoint link(60, 30);
    const QPoint below(100, 150);
    QTRY_COMPARE(Screen::colour(_panel->window, below), QByteArray("20C040"));
    QStringList expected{QStringLiteral("https://news.invalid/one?a=1&b=2#three")};
    // Follow the link by keyboard: Tab moves the focus from the page, which has it at first, to the
    // link.
    _panel->press("Tab");
    _panel->press("Return");
    QTRY_COMPARE(_panel->desktop.opened(), expected);
    Screen::click(_panel->content().place.topLeft() + link);
    expected.append(expected.first());
    QTRY_COMPARE(_panel->desktop.opened(), expected);
    QVERIFY(becomes("Item 1", "1 / 2"));

    QVERIFY(_panel->click("push button", "Next news item"));
    QTRY_COMPARE(Screen::colour(_panel->window, below), QByteArray("C04020"));
    Screen::click(_panel->content().place.topLeft() + link);
    expected.append(QStringLiteral("http:///relative.html"));
    QTRY_COMPARE(_panel->desktop.opened(), expected);
    QVERIFY(becomes("Item 2", "2 / 2"));
}

PELORIN_PANEL_TEST_MAIN(ItemsTest)
#include "ItemsTest.moc"
