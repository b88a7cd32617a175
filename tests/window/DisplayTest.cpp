// What the window shows, and stepping through it.

#include "OlvLocalization.h"
#include "TestMain.h"
#include "WindowFixture.h"

#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QStandardItemModel>
#include <QStandardPaths>
#include <QTextBrowser>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

QString spoken(const OlvNewsWindowController &controller) {
    return controller.webView()
        ->accessibilityAttributeValue(AccessibilityAttribute::Value)
        .toString();
}

// The text that the key stands for, as the staged module would find it.
QString localized(const char *key) {
    OlvLocalization texts;
    texts.setBundle(QStringLiteral(PELORIN_APP_DIR "/share/pelorin-news"));
    texts.setTable(QStringLiteral("Localizable"));
    return texts.stringForKey(QLatin1String(key));
}

}  // namespace

class DisplayTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        fixture = std::make_unique<WindowFixture>();
        fixture->prefer(QStringLiteral("newsShowOnStart"), false);
    }
    void cleanup() { fixture.reset(); }

    void wrapsAroundATwelveItemList();
    void oneItemLeavesNowhereToGo();
    void showsExactlyTheItemsHtml();
    void saysThatContentIsBeingRetrieved();
    void saysThatRetrievingFailed();
    void tellsWhyNothingPassesTheFilter_data();
    void tellsWhyNothingPassesTheFilter();
    void speaksTheItemsPlainText();
    void speaksTheFixedTitleWhenContentIsNotToBeRead();
    void showsThePlaceholderUntilTheFirstItem();
    void setsUpTheControls();
    void filterChangesStartAgainAtTheFirstItem();
    void agesCountToTheSecondAndChoicesReplaceEachOther();
    void aSecondWindowTakesOverTheOptionsAsTheyAre();
    void theTriangleOfASecondWindowNeverPointsTheWrongWay();
    void anUnknownFilterSelectsNothingAndFiltersAsAll();
    void storesShowOnStartOnlyForAFullCheck();
    void assistiveTechnologiesActWithTheSameEffect();
    void withoutOutletsEveryOperationIsHarmless();
    void theLastOfSeveralDisplaysWins();

private:
    std::shared_ptr<OlvNewsWindowController> shown(const QList<FeedItem> &items) {
        fixture->serve(items);
        auto controller = fixture->makeController();
        controller->showWindow();
        if (!QTest::qWaitFor([&controller] { return controller->window()->isVisible(); }))
            qFatal("not shown");
        QTest::qWait(300);  // the window has become key by now, whatever the platform tells
        return controller;
    }

    std::unique_ptr<WindowFixture> fixture;
};

void DisplayTest::wrapsAroundATwelveItemList() {
    const auto controller = shown(WindowFixture::items(12));
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 12"));
    QTest::mouseClick(controller->previousItem(), Qt::LeftButton);
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("12 / 12"));
    QTRY_COMPARE(controller->webView()->outerHTML(), QStringLiteral("<p>Body 12</p>"));
    QTest::mouseClick(controller->nextItem(), Qt::LeftButton);
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 12"));
    QTest::mouseClick(controller->nextItem(), Qt::LeftButton);
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("2 / 12"));
    QTest::mouseClick(controller->previousItem(), Qt::LeftButton);
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 12"));
}

void DisplayTest::oneItemLeavesNowhereToGo() {
    const auto controller = shown(WindowFixture::items(1));
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 1"));
    QVERIFY(!controller->previousItem()->isEnabled());
    QVERIFY(!controller->nextItem()->isEnabled());
    controller->onPreviousItem();
    controller->onNextItem();
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 1"));
}

void DisplayTest::showsExactlyTheItemsHtml() {
    auto items = WindowFixture::items(2);
    items[0].html = QStringLiteral("<h1>Only this</h1>");
    const auto controller = shown(items);
    QTRY_COMPARE(controller->webView()->outerHTML(), QStringLiteral("<h1>Only this</h1>"));
    const auto *browser = controller->webView()->findChild<QTextBrowser *>();
    QVERIFY(browser);
    QCOMPARE(browser->toPlainText(), QStringLiteral("Only this"));
}

void DisplayTest::saysThatContentIsBeingRetrieved() {
    FeedReply slow;
    slow.delayBeforeHead = std::chrono::milliseconds(1500);
    fixture->server().setReply(slow);
    fixture->serve({});
    const auto controller = fixture->beginController();
    controller->showWindow();
    QTRY_COMPARE(controller->webView()->outerHTML(), localized("StatusRetrievingContent"));
    QVERIFY(controller->newsCache().retrievingContent());
    QCOMPARE(controller->itemIndicator()->text(), QString());
    QVERIFY(!controller->previousItem()->isEnabled());
    QVERIFY(!controller->nextItem()->isEnabled());
    WindowFixture::settle(*controller);
    controller->exit();
}

void DisplayTest::saysThatRetrievingFailed() {
    FeedReply broken;
    broken.status = 500;
    fixture->server().setReply(broken);
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    QFile::remove(folder + QStringLiteral("/com.Olvane.Pelorin/PelorinNews.xml"));
    const auto controller = shown({});
    QTRY_COMPARE(controller->webView()->outerHTML(), localized("StatusErrorRetrievingContent"));
    QCOMPARE(controller->itemIndicator()->text(), QString());
    QVERIFY(!controller->nextItem()->isEnabled());
    QVERIFY(!controller->previousItem()->isEnabled());
}

void DisplayTest::tellsWhyNothingPassesTheFilter_data() {
    QTest::addColumn<int>("filter");
    QTest::addColumn<QString>("page");
    QTest::newRow("recent") << 2 << localized("StatusNothingFoundRecent");
    QTest::newRow("unread") << 3 << localized("StatusNothingFoundUnread");
    QTest::newRow("all") << 1 << localized("StatusNothingFound");
    QTest::newRow("a stored 0") << 0 << localized("StatusNothingFound");
    QTest::newRow("a stored 7") << 7 << QString();
    QTest::newRow("a stored -1") << -1 << QString();
}

void DisplayTest::tellsWhyNothingPassesTheFilter() {
    QFETCH(const int, filter);
    QFETCH(const QString, page);
    fixture->prefer(QStringLiteral("newsFilter"), filter);
    auto items = WindowFixture::items(2);
    for (FeedItem &item : items) {
        item.date = item.date.addDays(-31);
        if (filter != 2 && filter != 3)
            item.category = QStringLiteral("elsewhere");
    }
    fixture->prefer(QStringLiteral("newsLastViewing"), QDateTime::currentDateTimeUtc());
    const auto controller = shown(items);
    QCOMPARE(controller->newsCache().unfilteredCount(), 2U);
    QTRY_COMPARE(controller->webView()->outerHTML(), page);
    QCOMPARE(controller->itemIndicator()->text(), QString());
}

void DisplayTest::speaksTheItemsPlainText() {
    const auto controller = shown(WindowFixture::items(2));
    QTRY_COMPARE(spoken(*controller), QStringLiteral("Plain 1"));
    controller->onNextItem();
    QTRY_COMPARE(spoken(*controller), QStringLiteral("Plain 2"));
    controller->newsCache().setCategoriesOfInterest({QStringLiteral("none")});
    controller->refreshControls();
    QTRY_COMPARE(spoken(*controller), localized("StatusNothingFoundUnread"));
}

void DisplayTest::speaksTheFixedTitleWhenContentIsNotToBeRead() {
    fixture->prefer(QStringLiteral("newsReadItemContent"), false);
    const auto controller = shown(WindowFixture::items(2));
    QTRY_COMPARE(controller->webView()->outerHTML(), QStringLiteral("<p>Body 1</p>"));
    QCOMPARE(spoken(*controller), localized("WebViewAccessibilityTitle"));
    controller->onNextItem();
    QTRY_COMPARE(controller->webView()->outerHTML(), QStringLiteral("<p>Body 2</p>"));
    QCOMPARE(spoken(*controller), localized("WebViewAccessibilityTitle"));
}

void DisplayTest::showsThePlaceholderUntilTheFirstItem() {
    fixture->serve(WindowFixture::items(1));
    const auto controller = fixture->makeController();
    QVERIFY(controller->window());
    QCOMPARE(controller->webView()->outerHTML(), QStringLiteral("Loading content."));
    QCOMPARE(spoken(*controller), QStringLiteral("Pelorin News content"));
}

void DisplayTest::setsUpTheControls() {
    fixture->prefer(QStringLiteral("newsTypeFilter"), 2);
    fixture->prefer(QStringLiteral("newsFilter"), 2);
    const auto controller = fixture->makeController();
    QVERIFY(controller->window());
    QCOMPARE(controller->showOnStart()->text(), localized("SettingsShowOnStartCheckbox"));
    QVERIFY(!controller->showOnStart()->isChecked());
    const QComboBox *type = controller->displayContentType();
    QCOMPARE(type->count(), 2);
    QCOMPARE(type->itemText(0), localized("SettingsDisplayContentTypeAll"));
    QCOMPARE(type->itemText(1), localized("SettingsDisplayContentTypeCritical"));
    QCOMPARE(type->currentIndex(), 1);
    const QComboBox *from = controller->displayContentFrom();
    QCOMPARE(from->count(), 3);
    QCOMPARE(from->itemText(0), localized("SettingsDisplayContentUnread"));
    QCOMPARE(from->itemText(1), localized("SettingsDisplayContentRecent"));
    QCOMPARE(from->itemText(2), localized("SettingsDisplayContentAll"));
    QCOMPARE(from->currentIndex(), 1);
    QCOMPARE(controller->previousItem()->accessibleName(),
             localized("NavigationAccessibilityTitlePrevious"));
    QCOMPARE(controller->nextItem()->accessibleName(),
             localized("NavigationAccessibilityTitleNext"));
    QCOMPARE(controller->previousItem()->toolTip(), controller->previousItem()->accessibleName());
    QCOMPARE(controller->nextItem()->toolTip(), controller->nextItem()->accessibleName());
    QCOMPARE(controller->optionsLabel()->text(), localized("SettingsShowOptions"));
}

void DisplayTest::filterChangesStartAgainAtTheFirstItem() {
    auto items = WindowFixture::items(4);
    items[2].category = QStringLiteral("mac pelorin critical");
    fixture->prefer(QStringLiteral("newsFilter"), 2);
    const auto controller = shown(items);
    controller->onNextItem();
    controller->displayContentType()->setCurrentIndex(1);
    Q_EMIT controller->displayContentType()->activated(1);
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 1"));
    QCOMPARE(OlvNewsConfiguration().newsTypeFilter(), 2U);
    controller->displayContentType()->setCurrentIndex(0);
    Q_EMIT controller->displayContentType()->activated(0);
    controller->displayContentFrom()->setCurrentIndex(2);
    Q_EMIT controller->displayContentFrom()->activated(2);
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 4"));
    QCOMPARE(OlvNewsConfiguration().newsFilter(), 1U);
}

void DisplayTest::agesCountToTheSecondAndChoicesReplaceEachOther() {
    auto items = WindowFixture::items(2);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    items[0].date = now.addDays(-30).addSecs(600);
    items[1].date = now.addDays(-30).addSecs(-600);
    fixture->prefer(QStringLiteral("newsLastViewing"), now);
    fixture->prefer(QStringLiteral("newsFilter"), 3);
    const auto controller = shown(items);
    const auto countAfterChoosing = [&controller](int row) {
        controller->displayContentFrom()->setCurrentIndex(row);
        Q_EMIT controller->displayContentFrom()->activated(row);
        return controller->newsCache().count();
    };
    constexpr int unread = 0;
    constexpr int recent = 1;
    constexpr int all = 2;
    QCOMPARE(controller->newsCache().count(), 0U);
    QCOMPARE(countAfterChoosing(recent), 1U);
    QCOMPARE(controller->newsCache().itemAtIndex(0)->title(), items[0].title);
    QCOMPARE(countAfterChoosing(unread), 0U);
    QCOMPARE(countAfterChoosing(all), 2U);
    QCOMPARE(countAfterChoosing(recent), 1U);
}

void DisplayTest::aSecondWindowTakesOverTheOptionsAsTheyAre() {
    const auto first = shown(WindowFixture::items(2));
    QTRY_VERIFY(first->displayContentFrom()->isHidden());
    first->onOptionsButton();
    QTRY_COMPARE(first->optionsLabel()->text(), localized("SettingsHideOptions"));
    const auto second = fixture->makeController();
    QVERIFY(second->window());
    QCOMPARE(second->optionsLabel()->text(), localized("SettingsHideOptions"));
    QCOMPARE(second->optionsButton()->accessibleName(), localized("SettingsHideOptions"));
    QVERIFY(second->optionsButton()->isChecked());
    QVERIFY(!second->displayContentFrom()->isHidden());

    // Also when they changed between its loading and its opening.
    first->onOptionsButton();
    QTRY_COMPARE(first->optionsLabel()->text(), localized("SettingsShowOptions"));
    second->showWindow();
    QTRY_COMPARE(second->optionsLabel()->text(), localized("SettingsShowOptions"));
    QVERIFY(second->displayContentFrom()->isHidden());
    QVERIFY(!second->optionsButton()->isChecked());
}

void DisplayTest::theTriangleOfASecondWindowNeverPointsTheWrongWay() {
    const auto first = shown(WindowFixture::items(2));
    const auto second = fixture->makeController();
    second->showWindow();
    QTRY_COMPARE(second->itemIndicator()->text(), QStringLiteral("1 / 2"));
    for (const auto &pressed : {first, second, second, first}) {
        qobject_cast<QAbstractButton *>(pressed->optionsButton())->click();
        QTRY_COMPARE(pressed->optionsLabel()->text(),
                     localized(pressed->optionsButton()->isChecked() ? "SettingsHideOptions"
                                                                     : "SettingsShowOptions"));
        QCOMPARE(pressed->displayContentFrom()->isHidden(), !pressed->optionsButton()->isChecked());
    }
    // A window takes no room for an area that it does not show, nor too little for one it shows.
    second->window()->performClose();
    QTRY_VERIFY(!second->window()->isVisible());
    second->showWindow();
    QTRY_COMPARE(second->window()->minimumHeight(), first->window()->minimumHeight());
}

void DisplayTest::anUnknownFilterSelectsNothingAndFiltersAsAll() {
    fixture->prefer(QStringLiteral("newsFilter"), 0);
    fixture->prefer(QStringLiteral("newsLastViewing"), QDateTime::currentDateTimeUtc());
    const auto controller = shown(WindowFixture::items(3));
    QCOMPARE(controller->displayContentFrom()->currentIndex(), -1);
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 3"));
}

void DisplayTest::storesShowOnStartOnlyForAFullCheck() {
    const auto controller = fixture->makeController();
    QVERIFY(controller->window());
    auto *box = qobject_cast<QCheckBox *>(controller->showOnStart());
    QVERIFY(box);
    box->click();
    QVERIFY(OlvNewsConfiguration().showOnStart());
    box->setTristate(true);
    box->setCheckState(Qt::PartiallyChecked);
    controller->onShowOnStartChanged();
    QVERIFY(!OlvNewsConfiguration().showOnStart());
}

void DisplayTest::assistiveTechnologiesActWithTheSameEffect() {
    const auto controller = shown(WindowFixture::items(2));
    const auto act = [](QWidget *control, const QString &action) {
        QAccessible::queryAccessibleInterface(control)->actionInterface()->doAction(action);
    };
    const QString toggle = QAccessibleActionInterface::toggleAction();
    act(controller->showOnStart(), toggle);
    QVERIFY(OlvNewsConfiguration().showOnStart());
    act(controller->showOnStart(), toggle);
    QVERIFY(!OlvNewsConfiguration().showOnStart());
    QVERIFY(controller->displayContentFrom()->isHidden());
    const QString press = QAccessibleActionInterface::pressAction();
    act(controller->optionsButton(), press);
    QTRY_VERIFY(controller->displayContentFrom()->isVisible());
    act(controller->optionsButton(), press);
    QTRY_VERIFY(controller->displayContentFrom()->isHidden());
}

void DisplayTest::withoutOutletsEveryOperationIsHarmless() {
    fixture->prefer(QStringLiteral("newsFilter"), 1);
    const auto controller = shown(WindowFixture::items(2));
    delete controller->webView();
    delete controller->previousItem();
    delete controller->nextItem();
    delete controller->showOnStart();
    delete controller->displayContentType();
    delete controller->displayContentTypeLabel();
    delete controller->displayContentFrom();
    delete controller->displayContentFromLabel();
    delete controller->itemIndicator();
    delete controller->optionsLabel();
    delete controller->optionsButton();
    controller->initializeControls();
    controller->refreshControls();
    controller->onNextItem();
    controller->onDisplayContentTypeChanged();
    controller->onDisplayContentFromChanged();
    controller->onOptionsButton();
    controller->onOptionsButton();
    WindowFixture::settle(*controller);
    QCOMPARE(controller->newsCache().count(), 2U);
}

void DisplayTest::theLastOfSeveralDisplaysWins() {
    const auto controller = shown(WindowFixture::items(5));
    controller->onNextItem();
    controller->onNextItem();
    controller->onNextItem();
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("4 / 5"));
    QTRY_COMPARE(controller->webView()->outerHTML(), QStringLiteral("<p>Body 4</p>"));
    QCOMPARE(spoken(*controller), QStringLiteral("Plain 4"));
}

PELORIN_WIDGET_TEST_MAIN(DisplayTest)
#include "DisplayTest.moc"
