// What the window shows, and stepping through the items.

#include "TestMain.h"
#include "WindowTest.h"

#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QStandardItemModel>
#include <QStandardPaths>
#include <QTextBlock>
#include <QTextBrowser>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

QString spoken(const OlvNewsWindowController &controller) {
    return controller.webView()
        ->accessibilityAttributeValue(AccessibilityAttribute::Value)
        .toString();
}

}  // namespace

class DisplayTest : public WindowTest {
    Q_OBJECT

private Q_SLOTS:
    void wrapsAroundATwelveItemList();
    void steppingGoesOnFromBeyondAListThatBecameShorter();
    void twoItemsLeadToEachOther();
    void oneItemLeavesNowhereToGo();
    void showsExactlyTheItemsHtml();
    void saysThatContentIsBeingRetrieved();
    void saysThatRetrievingFailed();
    void speaksTheItemsPlainText();
    void speaksTheFixedTitleWhenContentIsNotToBeRead();
    void showsThePlaceholderUntilTheFirstItem();
    void setsUpTheControls();
    void aSecondWindowTakesOverTheOptionsAsTheyAre();
    void theTriangleOfASecondWindowNeverPointsTheWrongWay();
    void whatIsDoneWhileTheOptionsFoldLeavesNothingHalfDone_data();
    void whatIsDoneWhileTheOptionsFoldLeavesNothingHalfDone();
    void storesShowOnStartOnlyForAFullCheck();
    void assistiveTechnologiesActWithTheSameEffect();
    void withoutOutletsEveryOperationIsHarmless_data();
    void withoutOutletsEveryOperationIsHarmless();
    void theLastOfSeveralDisplaysWins();
    void theItemComesAfterTheEventThatAskedForIt();
    void drawsItemsThatNameNoFontInTheStandardFont();

private:
    void prepare() override { _fixture->prefer(QStringLiteral("newsShowOnStart"), false); }
};

void DisplayTest::wrapsAroundATwelveItemList() {
    const auto controller = _fixture->shown(WindowFixture::items(12));
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

void DisplayTest::steppingGoesOnFromBeyondAListThatBecameShorter() {
    _fixture->prefer(QStringLiteral("newsFilter"), 1);
    auto items = WindowFixture::items(5);
    for (const int kept : {0, 1, 2})
        items[kept].category += QStringLiteral(" kept");
    const auto controller = _fixture->shown(items);
    controller->onPreviousItem();
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("5 / 5"));
    controller->newsCache().setCategoriesOfInterest({QStringLiteral("kept")});
    QCOMPARE(controller->newsCache().count(), 3U);
    // `onNextItem` returns to the first item only from the last one, and not from a position beyond
    // it.
    controller->onNextItem();
    QCOMPARE(controller->itemIndicator()->text(), QString());
    QTRY_COMPARE(controller->webView()->outerHTML(),
                 WindowFixture::localized("StatusNothingFound"));
    for (const char *position : {"", "", "3 / 3", "2 / 3"}) {
        controller->onPreviousItem();
        QCOMPARE(controller->itemIndicator()->text(), QLatin1String(position));
    }
    controller->onNextItem();
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("3 / 3"));
    controller->onNextItem();
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 3"));
}

void DisplayTest::twoItemsLeadToEachOther() {
    const auto controller = _fixture->shown(WindowFixture::items(2));
    for (const char *position : {"2 / 2", "1 / 2"}) {
        controller->onPreviousItem();
        QCOMPARE(controller->itemIndicator()->text(), QLatin1String(position));
    }
    for (const char *position : {"2 / 2", "1 / 2"}) {
        controller->onNextItem();
        QCOMPARE(controller->itemIndicator()->text(), QLatin1String(position));
    }
}

void DisplayTest::oneItemLeavesNowhereToGo() {
    const auto controller = _fixture->shown(WindowFixture::items(1));
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
    const auto controller = _fixture->shown(items);
    QTRY_COMPARE(controller->webView()->outerHTML(), QStringLiteral("<h1>Only this</h1>"));
    const auto *browser = controller->webView()->findChild<QTextBrowser *>();
    QVERIFY(browser);
    QCOMPARE(browser->toPlainText(), QStringLiteral("Only this"));
}

void DisplayTest::saysThatContentIsBeingRetrieved() {
    FeedReply slow;
    slow.delayBeforeHead = std::chrono::milliseconds(1500);
    _fixture->server().setReply(slow);
    _fixture->serve({});
    const auto controller = _fixture->beginController();
    controller->showWindow();
    QTRY_COMPARE(controller->webView()->outerHTML(),
                 WindowFixture::localized("StatusRetrievingContent"));
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
    _fixture->server().setReply(broken);
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    QFile::remove(folder + QStringLiteral("/com.Olvane.Pelorin/PelorinNews.xml"));
    const auto controller = _fixture->shown({});
    QTRY_COMPARE(controller->webView()->outerHTML(),
                 WindowFixture::localized("StatusErrorRetrievingContent"));
    QCOMPARE(controller->itemIndicator()->text(), QString());
    QVERIFY(!controller->nextItem()->isEnabled());
    QVERIFY(!controller->previousItem()->isEnabled());
}

void DisplayTest::speaksTheItemsPlainText() {
    const auto controller = _fixture->shown(WindowFixture::items(2));
    QTRY_COMPARE(spoken(*controller), QStringLiteral("Plain 1"));
    controller->onNextItem();
    QTRY_COMPARE(spoken(*controller), QStringLiteral("Plain 2"));
    controller->newsCache().setCategoriesOfInterest({QStringLiteral("none")});
    controller->refreshControls();
    QTRY_COMPARE(spoken(*controller), WindowFixture::localized("StatusNothingFoundUnread"));
}

void DisplayTest::speaksTheFixedTitleWhenContentIsNotToBeRead() {
    _fixture->prefer(QStringLiteral("newsReadItemContent"), false);
    const auto controller = _fixture->shown(WindowFixture::items(2));
    QTRY_COMPARE(controller->webView()->outerHTML(), QStringLiteral("<p>Body 1</p>"));
    QCOMPARE(spoken(*controller), WindowFixture::localized("WebViewAccessibilityTitle"));
    controller->onNextItem();
    QTRY_COMPARE(controller->webView()->outerHTML(), QStringLiteral("<p>Body 2</p>"));
    QCOMPARE(spoken(*controller), WindowFixture::localized("WebViewAccessibilityTitle"));
}

void DisplayTest::showsThePlaceholderUntilTheFirstItem() {
    _fixture->serve(WindowFixture::items(1));
    const auto controller = _fixture->makeController();
    QVERIFY(controller->window());
    QCOMPARE(controller->webView()->outerHTML(), QStringLiteral("Loading content."));
    QCOMPARE(spoken(*controller), QStringLiteral("Pelorin News content"));
}

void DisplayTest::setsUpTheControls() {
    _fixture->prefer(QStringLiteral("newsTypeFilter"), 2);
    _fixture->prefer(QStringLiteral("newsFilter"), 2);
    const auto controller = _fixture->makeController();
    QVERIFY(controller->window());
    QCOMPARE(controller->showOnStart()->text(),
             WindowFixture::localized("SettingsShowOnStartCheckbox"));
    QVERIFY(!controller->showOnStart()->isChecked());
    const QComboBox *type = controller->displayContentType();
    QCOMPARE(type->count(), 2);
    QCOMPARE(type->itemText(0), WindowFixture::localized("SettingsDisplayContentTypeAll"));
    QCOMPARE(type->itemText(1), WindowFixture::localized("SettingsDisplayContentTypeCritical"));
    QCOMPARE(type->currentIndex(), 1);
    const QComboBox *from = controller->displayContentFrom();
    QCOMPARE(from->count(), 3);
    QCOMPARE(from->itemText(0), WindowFixture::localized("SettingsDisplayContentUnread"));
    QCOMPARE(from->itemText(1), WindowFixture::localized("SettingsDisplayContentRecent"));
    QCOMPARE(from->itemText(2), WindowFixture::localized("SettingsDisplayContentAll"));
    QCOMPARE(from->currentIndex(), 1);
    QCOMPARE(controller->previousItem()->accessibleName(),
             WindowFixture::localized("NavigationAccessibilityTitlePrevious"));
    QCOMPARE(controller->nextItem()->accessibleName(),
             WindowFixture::localized("NavigationAccessibilityTitleNext"));
    QCOMPARE(controller->previousItem()->toolTip(),
             QStringLiteral("Previous news item (Alt+\u2190\u200e)"));
    QCOMPARE(controller->nextItem()->toolTip(),
             QStringLiteral("Next news item (Alt+\u2192\u200e)"));
    QCOMPARE(controller->optionsLabel()->text(), WindowFixture::localized("SettingsShowOptions"));
}

void DisplayTest::aSecondWindowTakesOverTheOptionsAsTheyAre() {
    const auto first = _fixture->shown(WindowFixture::items(2));
    QTRY_VERIFY(first->displayContentFrom()->isHidden());
    first->onOptionsButton();
    QTRY_COMPARE(first->optionsLabel()->text(), WindowFixture::localized("SettingsHideOptions"));
    const auto second = _fixture->makeController();
    QVERIFY(second->window());
    QCOMPARE(second->optionsLabel()->text(), WindowFixture::localized("SettingsHideOptions"));
    QCOMPARE(second->optionsButton()->accessibleName(),
             WindowFixture::localized("SettingsHideOptions"));
    QVERIFY(second->optionsButton()->isChecked());
    QVERIFY(!second->displayContentFrom()->isHidden());

    // The second window opens with folded options even if they were folded only after its creation.
    first->onOptionsButton();
    QTRY_COMPARE(first->optionsLabel()->text(), WindowFixture::localized("SettingsShowOptions"));
    second->showWindow();
    QTRY_COMPARE(second->optionsLabel()->text(), WindowFixture::localized("SettingsShowOptions"));
    QVERIFY(second->displayContentFrom()->isHidden());
    QVERIFY(!second->optionsButton()->isChecked());
}

void DisplayTest::theTriangleOfASecondWindowNeverPointsTheWrongWay() {
    const auto first = _fixture->shown(WindowFixture::items(2));
    const auto second = _fixture->makeController();
    second->showWindow();
    QTRY_COMPARE(second->itemIndicator()->text(), QStringLiteral("1 / 2"));
    for (const auto &pressed : {first, second, second, first}) {
        qobject_cast<QAbstractButton *>(pressed->optionsButton())->click();
        QTRY_COMPARE(pressed->optionsLabel()->text(),
                     WindowFixture::localized(pressed->optionsButton()->isChecked()
                                                  ? "SettingsHideOptions"
                                                  : "SettingsShowOptions"));
        QCOMPARE(pressed->displayContentFrom()->isHidden(), !pressed->optionsButton()->isChecked());
    }
    // A window's minimum height includes the height of the options area only while that area is
    // visible.
    second->window()->performClose();
    QTRY_VERIFY(!second->window()->isVisible());
    second->showWindow();
    QTRY_COMPARE(second->window()->minimumHeight(), first->window()->minimumHeight());
}

void DisplayTest::whatIsDoneWhileTheOptionsFoldLeavesNothingHalfDone_data() {
    QTest::addColumn<int>("presses");
    QTest::addColumn<bool>("begun");
    QTest::addColumn<bool>("closed");
    for (int presses = 1; presses <= 3; ++presses) {
        QTest::addRow("pressed %d times, closed at once", presses) << presses << false << true;
        QTest::addRow("pressed %d times, closed half-way", presses) << presses << true << true;
        QTest::addRow("pressed %d times at once", presses) << presses << false << false;
        QTest::addRow("pressed %d times, each half-way", presses) << presses << true << false;
    }
}

void DisplayTest::whatIsDoneWhileTheOptionsFoldLeavesNothingHalfDone() {
    QFETCH(const int, presses);
    QFETCH(const bool, begun);
    QFETCH(const bool, closed);
    const auto controller = _fixture->shown(WindowFixture::items(2));
    OlvNewsWindow *window = controller->window();
    const QWidget *area = window->findChild<QWidget *>(QStringLiteral("optionsArea"));
    QVERIFY(area);
    QTRY_VERIFY(area->isHidden());
    window->resize(600, 450);
    QTRY_COMPARE(controller->webView()->width(), 600);
    const int page = controller->webView()->height();

    for (int press = 1; press <= presses; ++press) {
        controller->onOptionsButton();  // completes the folding that the previous press began
        const int height = window->height();
        if (begun)
            QTRY_VERIFY(window->height() != height);
    }
    const bool open = presses % 2 == 1;
    if (closed) {
        window->performClose();
        QVERIFY(!window->isVisible());
        controller->showWindow();
        QVERIFY(QTest::qWaitForWindowActive(window, testPatience));
    } else {
        QTRY_COMPARE(window->size(), QSize(600, open ? 488 : 450));
        QTRY_COMPARE(area->isVisible(), open);
    }
    const auto isDone = [&] {
        const QString label =
            WindowFixture::localized(open ? "SettingsHideOptions" : "SettingsShowOptions");
        QCOMPARE(window->size(), QSize(600, open ? 488 : 450));
        QCOMPARE(area->isVisible(), open);
        QCOMPARE(controller->webView()->height(), page);
        QCOMPARE(controller->optionsLabel()->text(), label);
        QCOMPARE(controller->optionsButton()->accessibleName(), label);
        QCOMPARE(controller->optionsButton()->isChecked(), open);
        for (const QWidget *control : std::initializer_list<const QWidget *>{
                 controller->displayContentFrom(), controller->displayContentFromLabel(),
                 controller->displayContentType(), controller->displayContentTypeLabel()})
            QCOMPARE(control->isHidden(), !open);
    };
    isDone();
    // Nothing changes in the next 300 ms.
    QTest::qWait(300);
    isDone();
    // Fold the options, as the next test expects them.
    if (open) {
        controller->onOptionsButton();
        QTRY_VERIFY(controller->displayContentFrom()->isHidden());
    }
}

void DisplayTest::storesShowOnStartOnlyForAFullCheck() {
    const auto controller = _fixture->makeController();
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
    const auto controller = _fixture->shown(WindowFixture::items(2));
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

void DisplayTest::withoutOutletsEveryOperationIsHarmless_data() {
    QTest::addColumn<QStringList>("missing");
    const QStringList all = {
        QStringLiteral("webView"),
        QStringLiteral("previousItem"),
        QStringLiteral("nextItem"),
        QStringLiteral("showOnStart"),
        QStringLiteral("displayContentTypeLabel"),
        QStringLiteral("displayContentType"),
        QStringLiteral("displayContentFromLabel"),
        QStringLiteral("displayContentFrom"),
        QStringLiteral("itemIndicator"),
        QStringLiteral("optionsLabel"),
        QStringLiteral("optionsButton"),
    };
    for (const QString &each : all)
        QTest::newRow(qPrintable(each)) << QStringList{each};
    QTest::newRow("all") << all;
}

void DisplayTest::withoutOutletsEveryOperationIsHarmless() {
    QFETCH(const QStringList, missing);
    _fixture->prefer(QStringLiteral("newsFilter"), 1);
    const auto controller = _fixture->shown(WindowFixture::items(2));
    for (const QString &name : missing) {
        auto *outlet = controller->window()->findChild<QWidget *>(name);
        QVERIFY2(outlet, qPrintable(name));
        delete outlet;
    }
    controller->initializeControls();
    controller->onDisplayContentTypeChanged();
    controller->onDisplayContentFromChanged();
    controller->onShowOnStartChanged();
    controller->refreshControls();
    controller->onPreviousItem();
    controller->onPreviousItem();
    controller->onNextItem();
    if (controller->optionsLabel())
        controller->optionsLabel()->clear();
    controller->onOptionsButton();
    controller->onOptionsButton();
    WindowFixture::settle(*controller);
    QCOMPARE(controller->newsCache().count(), 2U);
    // The controls that were not deleted work as usual.
    if (controller->webView())
        QTRY_COMPARE(controller->webView()->outerHTML(), QStringLiteral("<p>Body 2</p>"));
    for (const QWidget *button : {controller->previousItem(), controller->nextItem()})
        QVERIFY(!button || button->isEnabled());
    if (controller->itemIndicator())
        QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("2 / 2"));
    if (controller->optionsLabel())
        QTRY_COMPARE(controller->optionsLabel()->text(),
                     WindowFixture::localized("SettingsShowOptions"));
    for (const QWidget *control : std::initializer_list<const QWidget *>{
             controller->displayContentFrom(), controller->displayContentFromLabel(),
             controller->displayContentType(), controller->displayContentTypeLabel()})
        QVERIFY(!control || control->isHidden());
}

void DisplayTest::theLastOfSeveralDisplaysWins() {
    const auto controller = _fixture->shown(WindowFixture::items(5));
    controller->onNextItem();
    controller->onNextItem();
    controller->onNextItem();
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("4 / 5"));
    QTRY_COMPARE(controller->webView()->outerHTML(), QStringLiteral("<p>Body 4</p>"));
    QCOMPARE(spoken(*controller), QStringLiteral("Plain 4"));
}

void DisplayTest::theItemComesAfterTheEventThatAskedForIt() {
    const auto controller = _fixture->shown(WindowFixture::items(2));
    QTRY_COMPARE(controller->webView()->outerHTML(), QStringLiteral("<p>Body 1</p>"));
    controller->onNextItem();
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("2 / 2"));
    QCOMPARE(controller->webView()->outerHTML(), QStringLiteral("<p>Body 1</p>"));
    QCOMPARE(spoken(*controller), QStringLiteral("Plain 1"));
    QTRY_COMPARE(controller->webView()->outerHTML(), QStringLiteral("<p>Body 2</p>"));
    QCOMPARE(spoken(*controller), QStringLiteral("Plain 2"));
}

void DisplayTest::drawsItemsThatNameNoFontInTheStandardFont() {
    auto items = WindowFixture::items(1);
    items[0].html = QStringLiteral("<p>Plain</p><p style='font-family:Courier'>Typed</p>");
    const auto controller = _fixture->shown(items);
    QTRY_COMPARE(controller->webView()->outerHTML(), items[0].html);
    const auto *browser = controller->webView()->findChild<QTextBrowser *>();
    QVERIFY(browser);
    // The font that the text requests, even if this computer lacks it and paints with another.
    const auto font = [browser](int block) {
        const QTextBlock text = browser->document()->findBlockByNumber(block);
        return text.begin().fragment().charFormat().font().resolve(
            browser->document()->defaultFont());
    };
    QCOMPARE(font(0).family(), QStringLiteral("Verdana"));
    QCOMPARE(font(1).families(), QStringList{QStringLiteral("Courier")});
}

PELORIN_WIDGET_TEST_MAIN(DisplayTest)
#include "DisplayTest.moc"
