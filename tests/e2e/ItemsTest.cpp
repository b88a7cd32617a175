// Going from item to item, choosing among them, and following their links.

#include "PanelTestMain.h"

using namespace pelorinnews::test;

class ItemsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { panel = std::make_unique<Panel>(); }
    void cleanup() { panel.reset(); }

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
            shown = {panel->text(), panel->position()};
            return shown == expected;
        };
        if (QTest::qWaitFor(isShown, testPatience))
            return true;
        qWarning() << "shown is" << shown << "instead of" << expected;
        return false;
    }
    [[nodiscard]] QString chosen(int menu) const {
        QStringList all;
        for (const auto &each : panel->objects()) {
            if (each.role == QLatin1String("combo box") && each.is("showing"))
                all.append(each.name);
        }
        return all.value(menu);
    }

    std::unique_ptr<Panel> panel;
};

void ItemsTest::buttonsGoRoundInBothDirections() {
    QVERIFY(panel->open(Panel::items(3)));
    QVERIFY(becomes("Item 1", "1 / 3"));
    QVERIFY(panel->click("push button", "Next news item"));
    QVERIFY(becomes("Item 2", "2 / 3"));
    QVERIFY(panel->click("push button", "Next news item"));
    QVERIFY(becomes("Item 3", "3 / 3"));
    QVERIFY(panel->click("push button", "Next news item"));
    QVERIFY(becomes("Item 1", "1 / 3"));
    QVERIFY(panel->click("push button", "Previous news item"));
    QVERIFY(becomes("Item 3", "3 / 3"));
    // The button now has the focus; the button's key does the same.
    panel->press("space");
    QVERIFY(becomes("Item 2", "2 / 3"));
    panel->press("Tab");
    panel->press("space");
    QVERIFY(becomes("Item 3", "3 / 3"));
}

void ItemsTest::aSingleItemLeadsNowhere() {
    QVERIFY(panel->open(Panel::items(1)));
    QVERIFY(becomes("Item 1", "1 / 1"));
    for (const char *name : {"Previous news item", "Next news item"}) {
        QVERIFY(!panel->object("push button", name).is("enabled"));
        QVERIFY(panel->click("push button", name));
    }
    panel->clickIntoThePage();
    QTRY_VERIFY(panel->focus().startsWith(QStringLiteral("label ")));
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
    panel->desktop.prefer(key, value);
    panel->begin(Panel::items(2));
    QTRY_VERIFY(!panel->desktop.window(QStringLiteral("Pelorin")).isEmpty());
    QVERIFY(panel->reopen());
    // A window that opens before the first refresh has completed keeps saying that news is being
    // fetched.
    const auto saysWhy = [&] {
        if (panel->text() == status)
            return true;
        panel->press("Escape");
        return !QTest::qWaitFor([&] { return !panel->isOpen(); }, testPatience) || !panel->reopen();
    };
    QTRY_VERIFY(saysWhy());
    QTRY_COMPARE(panel->text(), status);
    for (const char *name : {"Previous news item", "Next news item"}) {
        const Assistive::Object button = panel->object("push button", name);
        QVERIFY(button.is("showing") && !button.is("enabled"));
    }
    QCOMPARE(panel->position(), QString());
    // The status is painted: the first word of a page does not reach this far.
    const QRect page = panel->content().place;
    const QRect part(180, 4, 100, 28);
    QTRY_VERIFY(Screen::colours(panel->window, part) > 4);
    // And nothing else is painted.
    QCOMPARE(Screen::colours(panel->window, QRect(0, 100, page.width(), page.height() - 100)), 1);
}

void ItemsTest::menusChooseByMouseAndByKeyboard() {
    QList<FeedEntry> news = Panel::items(4);
    news[1].category = QStringLiteral("mac pelorin critical");
    news[3].date = news[3].date.addDays(-40);
    QVERIFY(panel->open(news));
    QVERIFY(panel->click("push button", "Show options"));
    QTRY_COMPARE(chosen(0), QStringLiteral("All news"));
    QCOMPARE(chosen(1), QStringLiteral("All"));
    QVERIFY(panel->click("push button", "Next news item"));
    QVERIFY(becomes("Item 2", "2 / 4"));

    // By mouse: the list opens, an entry is clicked.
    QVERIFY(panel->click("combo box", "All"));
    QTRY_VERIFY(panel->listIsOpen());
    QVERIFY(panel->click("list item", "Last 30 days"));
    QVERIFY(becomes("Item 1", "1 / 3"));
    QCOMPARE(chosen(1), QStringLiteral("Last 30 days"));
    QTRY_COMPARE(panel->desktop.preference(QStringLiteral("newsFilter")).toInt(), 2);

    // By keyboard: first without its list, then with it.
    panel->press("shift+Tab");
    QTRY_COMPARE(panel->focus(), QStringLiteral("combo box All news"));
    panel->press("Down");
    QVERIFY(becomes("Item 2", "1 / 1"));
    QTRY_COMPARE(panel->desktop.preference(QStringLiteral("newsTypeFilter")).toInt(), 2);
    panel->press("space");
    QTRY_VERIFY(panel->listIsOpen());
    Screen::press(QStringLiteral("Up"));
    Screen::press(QStringLiteral("Return"));
    QVERIFY(becomes("Item 1", "1 / 3"));
    QTRY_COMPARE(panel->desktop.preference(QStringLiteral("newsTypeFilter")).toInt(), 1);
    QVERIFY(panel->object("push button", "Next news item").is("enabled"));
}

void ItemsTest::theCheckBoxIsStored() {
    QVERIFY(panel->open(Panel::items(2)));
    const QString key = QStringLiteral("newsShowOnStart");
    QVERIFY(panel->object("check box", "Show news on start").is("checked"));
    QVERIFY(panel->click("check box", "Show news on start"));
    QTRY_COMPARE(panel->desktop.preference(key).toString(), QStringLiteral("false"));
    QVERIFY(!panel->object("check box", "Show news on start").is("checked"));
    panel->press("space");
    QTRY_COMPARE(panel->desktop.preference(key).toString(), QStringLiteral("true"));
    // The menu's access key works from anywhere.
    panel->clickIntoThePage();
    panel->press("alt+s");
    QTRY_COMPARE(panel->desktop.preference(key).toString(), QStringLiteral("false"));
}

void ItemsTest::linksOpenInTheUsersBrowser() {
    QList<FeedEntry> news = Panel::items(2);
    const QString page = QStringLiteral(
        "<body bgcolor='%1'><a href='%2'><font size='7'>A long link to follow</font></a></body>");
    news[0].html = page.arg(QStringLiteral("#20c040"),
                            QStringLiteral("https://news.invalid/one?a=1&amp;b=2#three"));
    news[1].html = page.arg(QStringLiteral("#c04020"), QStringLiteral("relative.html"));
    panel->desktop.installBrowser();
    QVERIFY(panel->open(news));
    const QPoint link(60, 30);
    const QPoint below(100, 150);
    QTRY_COMPARE(Screen::colour(panel->window, below), QByteArray("20C040"));
    QStringList expected{QStringLiteral("https://news.invalid/one?a=1&b=2#three")};
    // By keyboard: from the page, which has the focus at first, to the link in it.
    panel->press("Tab");
    panel->press("Return");
    QTRY_COMPARE(panel->desktop.opened(), expected);
    Screen::click(panel->content().place.topLeft() + link);
    expected.append(expected.first());
    QTRY_COMPARE(panel->desktop.opened(), expected);
    QVERIFY(becomes("Item 1", "1 / 2"));

    QVERIFY(panel->click("push button", "Next news item"));
    QTRY_COMPARE(Screen::colour(panel->window, below), QByteArray("C04020"));
    Screen::click(panel->content().place.topLeft() + link);
    expected.append(QStringLiteral("http:///relative.html"));
    QTRY_COMPARE(panel->desktop.opened(), expected);
    QVERIFY(becomes("Item 2", "2 / 2"));
}

PELORIN_PANEL_TEST_MAIN(ItemsTest)
#include "ItemsTest.moc"
