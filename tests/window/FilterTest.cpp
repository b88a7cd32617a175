// The items that the two filter menus let through, and the status that the window shows if none
// passes.

#include "TestMain.h"
#include "WindowTest.h"

#include <QApplication>

using namespace pelorinnews;
using namespace pelorinnews::test;

class FilterTest : public WindowTest {
    Q_OBJECT

private Q_SLOTS:
    void bothWordsAreAskedForAndCriticalIsAThird_data();
    void bothWordsAreAskedForAndCriticalIsAThird();
    void tellsWhyNothingPassesTheFilter_data();
    void tellsWhyNothingPassesTheFilter();
    void filterChangesStartAgainAtTheFirstItem();
    void agesCountToTheSecondAndChoicesReplaceEachOther();
    void anUnknownFilterSelectsNothingAndFiltersAsAll();
    void withoutAChoiceTheStoredOneIsAppliedAgain_data();
    void withoutAChoiceTheStoredOneIsAppliedAgain();

private:
    void prepare() override { _fixture->prefer(QStringLiteral("newsShowOnStart"), false); }
};

void FilterTest::bothWordsAreAskedForAndCriticalIsAThird_data() {
    QTest::addColumn<int>("choice");
    QTest::addColumn<QStringList>("passing");
    const QString both = QStringLiteral("mac pelorin");
    const QString all = QStringLiteral("mac pelorin critical");
    QTest::newRow("all") << 1 << QStringList{both, all};
    QTest::newRow("critical") << 2 << QStringList{all};
    QTest::newRow("a stored 0") << 0 << QStringList{both, all};
    QTest::newRow("a stored 3") << 3 << QStringList{both, all};
}

void FilterTest::bothWordsAreAskedForAndCriticalIsAThird() {
    QFETCH(const int, choice);
    QFETCH(const QStringList, passing);
    const QStringList categories = {QStringLiteral("mac"),
                                    QStringLiteral("pelorin"),
                                    QStringLiteral("mac pelorin"),
                                    QStringLiteral("elsewhere"),
                                    QStringLiteral("critical"),
                                    QStringLiteral("mac critical"),
                                    QString(),
                                    QStringLiteral("pelorin critical"),
                                    QStringLiteral("mac pelorin critical")};
    auto items = WindowFixture::items(static_cast<int>(categories.size()));
    for (qsizetype each = 0; each < items.size(); ++each)
        items[each].category = items[each].title = categories[each];
    _fixture->serve(items);
    _fixture->prefer(QStringLiteral("newsTypeFilter"), choice);
    const auto controller = _fixture->makeController();
    QStringList passed;
    for (quint64 each = 0; each < controller->newsCache().count(); ++each)
        passed.append(controller->newsCache().itemAtIndex(each)->title());
    QCOMPARE(passed, passing);
}

void FilterTest::tellsWhyNothingPassesTheFilter_data() {
    QTest::addColumn<int>("filter");
    QTest::addColumn<QString>("page");
    QTest::newRow("recent") << 2 << WindowFixture::localized("StatusNothingFoundRecent");
    QTest::newRow("unread") << 3 << WindowFixture::localized("StatusNothingFoundUnread");
    QTest::newRow("all") << 1 << WindowFixture::localized("StatusNothingFound");
    QTest::newRow("a stored 0") << 0 << WindowFixture::localized("StatusNothingFound");
    QTest::newRow("a stored 4") << 4 << QString();
    QTest::newRow("a stored 7") << 7 << QString();
    QTest::newRow("a stored -1") << -1 << QString();
}

void FilterTest::tellsWhyNothingPassesTheFilter() {
    QFETCH(const int, filter);
    QFETCH(const QString, page);
    // Show an item first. Neither its page nor its text for screen readers may remain.
    _fixture->prefer(QStringLiteral("newsFilter"), 1);
    auto items = WindowFixture::items(2);
    for (FeedItem &item : items)
        item.date = item.date.addDays(-31);
    const auto controller = _fixture->shown(items);
    QTRY_COMPARE(controller->webView()->ownValue(), QStringLiteral("Plain 1"));
    controller->newsCache().setLastViewing(QDateTime::currentDateTimeUtc());
    _fixture->prefer(QStringLiteral("newsFilter"), filter);
    controller->applyFilter();
    if (filter != 2 && filter != 3)
        controller->newsCache().setCategoriesOfInterest({QStringLiteral("elsewhere")});
    controller->refreshControls();
    QCOMPARE(controller->newsCache().unfilteredCount(), 2U);
    QTRY_COMPARE(controller->webView()->outerHTML(), page);
    QCOMPARE(controller->itemIndicator()->text(), QString());
    QCOMPARE(controller->webView()->ownValue(), page);
    QCOMPARE(controller->webView()->ownValue().isNull(), page.isNull());
}

void FilterTest::filterChangesStartAgainAtTheFirstItem() {
    auto items = WindowFixture::items(4);
    items[2].category = QStringLiteral("mac pelorin critical");
    _fixture->prefer(QStringLiteral("newsFilter"), 2);
    const auto controller = _fixture->shown(items);
    controller->onNextItem();
    controller->displayContentType()->setCurrentIndex(1);
    Q_EMIT controller->displayContentType()->activated(1);
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 1"));
    QCOMPARE(OlvNewsConfiguration().newsTypeFilter(), NewsTypeFilter::Critical);
    controller->displayContentType()->setCurrentIndex(0);
    Q_EMIT controller->displayContentType()->activated(0);
    controller->displayContentFrom()->setCurrentIndex(2);
    Q_EMIT controller->displayContentFrom()->activated(2);
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 4"));
    QCOMPARE(OlvNewsConfiguration().newsFilter(), NewsFilter::All);
}

void FilterTest::agesCountToTheSecondAndChoicesReplaceEachOther() {
    // Items dated at each second from 300 seconds after the age limit to 300 seconds before it, the
    // newest first.
    constexpr int seconds = 300;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    auto items = WindowFixture::items(2 * seconds + 1);
    for (qsizetype each = 0; each < items.size(); ++each)
        items[each].date = now.addDays(-30).addSecs(seconds - each);
    _fixture->prefer(QStringLiteral("newsLastViewing"), now);
    _fixture->prefer(QStringLiteral("newsFilter"), 3);
    const auto controller = _fixture->shown(items);
    const auto countAfterChoosing = [&controller](int row) {
        controller->displayContentFrom()->setCurrentIndex(row);
        Q_EMIT controller->displayContentFrom()->activated(row);
        return controller->newsCache().count();
    };
    constexpr int unread = 0;
    constexpr int recent = 1;
    constexpr int all = 2;
    const auto passesTheRecent = [&] {
        const qint64 before = QDateTime::currentMSecsSinceEpoch();
        const quint64 count = countAfterChoosing(recent);
        const qint64 after = QDateTime::currentMSecsSinceEpoch();
        // The filter took the current time at some moment between `before` and `after`.
        constexpr qint64 thirtyDays = 2'592'000'000;
        quint64 atLeast = 0;
        quint64 atMost = 0;
        for (const FeedItem &item : items) {
            const qint64 date = item.date.toSecsSinceEpoch() * 1000;
            atLeast += date > after - thirtyDays ? 1 : 0;
            atMost += date > before - thirtyDays ? 1 : 0;
        }
        return atLeast > 0 && atLeast <= count && count <= atMost;
    };
    QCOMPARE(controller->newsCache().count(), 0U);
    QVERIFY(passesTheRecent());
    QCOMPARE(controller->newsCache().itemAtIndex(0)->title(), items[0].title);
    QCOMPARE(countAfterChoosing(unread), 0U);
    QCOMPARE(countAfterChoosing(all), static_cast<quint64>(items.size()));
    QVERIFY(passesTheRecent());
}

void FilterTest::anUnknownFilterSelectsNothingAndFiltersAsAll() {
    _fixture->prefer(QStringLiteral("newsFilter"), 0);
    _fixture->prefer(QStringLiteral("newsLastViewing"), QDateTime::currentDateTimeUtc());
    const auto controller = _fixture->shown(WindowFixture::items(3));
    QCOMPARE(controller->displayContentFrom()->currentIndex(), -1);
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 3"));
}

void FilterTest::withoutAChoiceTheStoredOneIsAppliedAgain_data() {
    QTest::addColumn<bool>("ofKind");
    QTest::newRow("kind") << true;
    QTest::newRow("age") << false;
}

void FilterTest::withoutAChoiceTheStoredOneIsAppliedAgain() {
    QFETCH(const bool, ofKind);
    _fixture->prefer(QStringLiteral("newsTypeFilter"), 2);
    _fixture->prefer(QStringLiteral("newsFilter"), 2);
    auto items = WindowFixture::items(4);
    for (FeedItem &item : items)
        item.category += QStringLiteral(" critical");
    items[3].date = items[3].date.addDays(-31);
    const auto controller = _fixture->shown(items);
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 3"));
    // Change the filter without storing the change, so that reapplying the stored settings has a
    // visible effect.
    controller->newsCache().setFilterTimeInterval(0);
    controller->onNextItem();
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("2 / 4"));
    QComboBox *menu = ofKind ? controller->displayContentType() : controller->displayContentFrom();
    menu->setCurrentIndex(-1);
    Q_EMIT menu->activated(-1);
    QCOMPARE(OlvNewsConfiguration().newsTypeFilter(), NewsTypeFilter::Critical);
    QCOMPARE(OlvNewsConfiguration().newsFilter(), NewsFilter::Recent);
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 3"));
    QTRY_COMPARE(controller->webView()->outerHTML(), items[0].html);
}

PELORIN_WIDGET_TEST_MAIN(FilterTest)
#include "FilterTest.moc"
