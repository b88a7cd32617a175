#include "CacheTesting.h"
#include "ScriptedLoader.h"
#include "TestMain.h"
#include "feed/OlvNewsCacheFiltered.h"
#include "platform/HostBundle.h"

#include <limits>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

constexpr double day = 86400;

QDateTime instant(const char *text) {
    return QDateTime::fromString(QLatin1String(text), Qt::ISODate);
}

const QDateTime now = instant("2026-03-31T12:00:00Z");

QDateTime daysAgo(int days) {
    return now.addDays(-days);
}

}  // namespace

class OlvNewsCacheFilteredTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { HostBundle::setIdentity({"com.example.FilteredTest", {}, {}}); }
    void init() {
        QDir(cacheFolder("com.example.FilteredTest")).removeRecursively();
        _loader = std::make_shared<ScriptedLoader>();
        _cache = std::make_shared<OlvNewsCacheFiltered>(_loader, [] { return now; });
        _cache->setFeedBaseURL(QStringLiteral("http://127.0.0.1:9/feed"));
    }
    void cleanup() { _cache.reset(); }

    void hasNoViewAtFirst();
    void showsEverythingWithoutConditions();
    void keepsItemsThatContainEveryCategory_data();
    void keepsItemsThatContainEveryCategory();
    void tellsManyDifferentCategoriesApart();
    void keepsItemsStrictlyLaterThanTheCutOff();
    void takesAnyNumberForAnAge_data();
    void takesAnyNumberForAnAge();
    void keepsItemsStrictlyLaterThanTheLastViewing();
    void keepsNothingUnviewedWithoutALastViewing();
    void combinesAllConditionsInFeedOrder();
    void readingAnItemMovesTheLastViewingForward();
    void readingAnItemNeverMovesTheLastViewingBack();
    void readingAnItemLeavesAnAbsentLastViewingAbsent();
    void readingBeyondTheEndGivesNothingAndChangesNothing();
    void keepsTheLastViewingExactly();
    void settingTheLastViewingDoesNotFilter();
    void peeksAtTheLatestItem();
    void peeksAtTheFirstItemWhenNoneHasADate();
    void anEmptyFeedLeavesTheView();
    void aFailedRefreshFiltersWhatTheFileGives();
    void aRefreshThatCannotStartFiltersBeforeItReturns();
    void filtersBeforeTheCompletion();
    void aParseAloneDoesNotFilter();

private:
    /// Parses a feed of these items and filters it.
    void fill(const QList<CacheEntry> &entries) {
        QVERIFY(_cache->parseFeed(feedText("en", entries), nullptr));
        _cache->applyFilter();
    }
    /// The titles of the filtered items. Restores the last viewing, which reading the items moves
    /// forward.
    QStringList view() {
        const QDateTime viewed = _cache->lastViewing();
        QStringList found = titles(*_cache);
        _cache->setLastViewing(viewed);
        return found;
    }

    std::shared_ptr<ScriptedLoader> _loader;
    std::shared_ptr<OlvNewsCacheFiltered> _cache;
};

void OlvNewsCacheFilteredTest::hasNoViewAtFirst() {
    QVERIFY(_cache->parseFeed(feedOfTitles("en", {"a"}), nullptr));
    QCOMPARE(_cache->count(), 0U);
    QCOMPARE(_cache->unfilteredCount(), 1U);
    QVERIFY(!_cache->itemAtIndex(0));
    QVERIFY(!_cache->peekAtLatestItem());
    QCOMPARE(_cache->sinceLastViewingCount(), 0);
    QVERIFY(!_cache->lastViewing().isValid());
}

void OlvNewsCacheFilteredTest::showsEverythingWithoutConditions() {
    fill({{"a", "mac", daysAgo(1)}, {"b"}, {"c", QString(), daysAgo(9)}});
    QCOMPARE(view(), (QStringList{"a", "b", "c"}));
    _cache->setCategoriesOfInterest({"mac"});
    QCOMPARE(view(), QStringList{"a"});
    _cache->setCategoriesOfInterest({});
    QCOMPARE(view(), (QStringList{"a", "b", "c"}));
}

void OlvNewsCacheFilteredTest::keepsItemsThatContainEveryCategory_data() {
    QTest::addColumn<QStringList>("wanted");
    QTest::addColumn<QString>("category");
    QTest::addColumn<bool>("kept");
    const QStringList critical{"mac", "pelorin", "critical"};
    QTest::newRow("all three") << critical << "mac pelorin critical" << true;
    QTest::newRow("in any order") << critical << "critical,pelorin,mac" << true;
    QTest::newRow("one missing") << critical << "mac pelorin" << false;
    QTest::newRow("within imac") << QStringList{"mac"} << "imac" << true;
    QTest::newRow("within macintosh") << QStringList{"mac"} << "macintosh" << true;
    QTest::newRow("capitalised") << QStringList{"mac"} << "Mac" << false;
    QTest::newRow("with a diacritic") << QStringList{"mac"} << "m\u00e1c" << false;
    QTest::newRow("no category") << QStringList{"mac"} << QString() << false;
    QTest::newRow("an empty one") << QStringList{"mac"} << "" << false;
    QTest::newRow("a quote") << QStringList{"it's"} << "it's" << true;
    QTest::newRow("a quote that is not there") << QStringList{"' OR '' == '"} << "mac" << false;
    QTest::newRow("format and pattern signs") << QStringList{"%@ \\*?"} << "a %@ \\*? b" << true;
    QTest::newRow("no pattern") << QStringList{"m*c"} << "mac" << false;
    QTest::newRow("the empty text") << QStringList{""} << "mac" << true;
    QTest::newRow("the empty text, empty category") << QStringList{""} << "" << true;
    QTest::newRow("the empty text, no category") << QStringList{""} << QString() << false;
    QTest::newRow("twice the same") << QStringList{"mac", "mac"} << "mac" << true;
}

void OlvNewsCacheFilteredTest::keepsItemsThatContainEveryCategory() {
    QFETCH(QStringList, wanted);
    QFETCH(QString, category);
    QFETCH(bool, kept);
    fill({{"a", category.isNull() ? category : category.toHtmlEscaped()}});
    _cache->setCategoriesOfInterest(wanted);
    QCOMPARE(_cache->count(), kept ? 1U : 0U);
    QCOMPARE(_cache->unfilteredCount(), 1U);
}

void OlvNewsCacheFilteredTest::tellsManyDifferentCategoriesApart() {
    QList<CacheEntry> entries;
    QStringList expected;
    for (int index = 0; index < 200; ++index) {
        const int word = index % 50;
        entries.append({QString::number(index), QStringLiteral("w%1.").arg(word)});
        if (word % 10 == 7)
            expected << QString::number(index);
    }
    fill(entries);
    _cache->setCategoriesOfInterest({"7."});
    QCOMPARE(view(), expected);
}

void OlvNewsCacheFilteredTest::keepsItemsStrictlyLaterThanTheCutOff() {
    fill({{"second after", {}, daysAgo(30).addSecs(1)},
          {"exactly", {}, daysAgo(30)},
          {"second before", {}, daysAgo(30).addSecs(-1)},
          {"no date"},
          {"future", {}, daysAgo(-1)}});
    QCOMPARE(_cache->count(), 5U);
    _cache->setFilterTimeInterval(30 * day);
    QCOMPARE(view(), (QStringList{"second after", "future"}));
    _cache->setFilterTimeInterval(30 * day + 0.001);
    QCOMPARE(view(), (QStringList{"second after", "exactly", "future"}));
    _cache->setFilterTimeInterval(0);
    QCOMPARE(_cache->count(), 5U);
    _cache->setFilterTimeInterval(-0.0);
    QCOMPARE(_cache->count(), 5U);
}

void OlvNewsCacheFilteredTest::takesAnyNumberForAnAge_data() {
    QTest::addColumn<double>("age");
    QTest::addColumn<QStringList>("kept");
    using limits = std::numeric_limits<double>;
    const QStringList none;
    const QStringList dated{"old", "new", "future"};
    QTest::newRow("not a number") << limits::quiet_NaN() << none;
    QTest::newRow("infinite") << limits::infinity() << dated;
    QTest::newRow("infinite, negative") << -limits::infinity() << none;
    QTest::newRow("negative") << -day << QStringList{"future"};
    QTest::newRow("the largest") << limits::max() << dated;
    QTest::newRow("the largest, negative") << limits::lowest() << none;
    QTest::newRow("the smallest") << limits::denorm_min() << QStringList{"future"};
}

void OlvNewsCacheFilteredTest::takesAnyNumberForAnAge() {
    QFETCH(double, age);
    QFETCH(QStringList, kept);
    fill({{"old", {}, instant("1971-01-01T00:00:00Z")},
          {"new", {}, daysAgo(0)},
          {"no date"},
          {"future", {}, daysAgo(-2)}});
    _cache->setFilterTimeInterval(age);
    QCOMPARE(view(), kept);
}

void OlvNewsCacheFilteredTest::keepsItemsStrictlyLaterThanTheLastViewing() {
    _cache->setLastViewing(daysAgo(5));
    fill({{"second after", {}, daysAgo(5).addSecs(1)},
          {"exactly", {}, daysAgo(5)},
          {"before", {}, daysAgo(6)},
          {"no date"}});
    QCOMPARE(_cache->sinceLastViewingCount(), 1);
    _cache->setCategoriesOfInterest({"none"});
    QCOMPARE(_cache->sinceLastViewingCount(), 0);
    _cache->setCategoriesOfInterest({});
    _cache->setShowOnlyUnviewedItems(true);
    QCOMPARE(view(), QStringList{"second after"});
    _cache->setShowOnlyUnviewedItems(false);
    QCOMPARE(_cache->count(), 4U);
}

void OlvNewsCacheFilteredTest::keepsNothingUnviewedWithoutALastViewing() {
    fill({{"a", {}, daysAgo(1)}, {"no date"}});
    QCOMPARE(_cache->sinceLastViewingCount(), 0);
    _cache->setShowOnlyUnviewedItems(true);
    QCOMPARE(_cache->count(), 0U);
}

void OlvNewsCacheFilteredTest::combinesAllConditionsInFeedOrder() {
    _cache->setLastViewing(daysAgo(5));
    _cache->setCategoriesOfInterest({"mac", "pelorin"});
    _cache->setFilterTimeInterval(3 * day);
    _cache->setShowOnlyUnviewedItems(true);
    fill({{"older first", "mac pelorin", daysAgo(2)},
          {"wrong words", "mac", daysAgo(1)},
          {"newer last", "pelorin mac", daysAgo(1)},
          {"too old", "mac pelorin", daysAgo(4)}});
    QCOMPARE(view(), (QStringList{"older first", "newer last"}));
    _cache->setLastViewing(daysAgo(2));
    _cache->applyFilter();
    QCOMPARE(view(), QStringList{"newer last"});
}

void OlvNewsCacheFilteredTest::readingAnItemMovesTheLastViewingForward() {
    _cache->setLastViewing(daysAgo(5));
    fill({{"new", {}, daysAgo(1)}, {"older", {}, daysAgo(3)}, {"newest", {}, daysAgo(0)}});
    QCOMPARE(_cache->sinceLastViewingCount(), 3);
    QCOMPARE(_cache->itemAtIndex(0)->title(), QStringLiteral("new"));
    QCOMPARE(_cache->lastViewing(), daysAgo(1));
    // The older item counts as viewed too.
    QCOMPARE(_cache->sinceLastViewingCount(), 1);
    QCOMPARE(_cache->count(), 3U);
}

void OlvNewsCacheFilteredTest::readingAnItemNeverMovesTheLastViewingBack() {
    _cache->setLastViewing(daysAgo(2));
    fill({{"older", {}, daysAgo(3)}, {"exactly", {}, daysAgo(2)}, {"no date"}});
    for (quint64 index = 0; index < 3; ++index) {
        QVERIFY(_cache->itemAtIndex(index));
        QCOMPARE(_cache->lastViewing(), daysAgo(2));
    }
}

void OlvNewsCacheFilteredTest::readingAnItemLeavesAnAbsentLastViewingAbsent() {
    fill({{"a", {}, daysAgo(1)}});
    QVERIFY(_cache->itemAtIndex(0));
    QVERIFY(!_cache->lastViewing().isValid());
}

void OlvNewsCacheFilteredTest::readingBeyondTheEndGivesNothingAndChangesNothing() {
    _cache->setLastViewing(daysAgo(5));
    fill({{"a", {}, daysAgo(1)}, {"b", {}, daysAgo(2)}});
    QVERIFY(!_cache->itemAtIndex(2));
    QVERIFY(!_cache->itemAtIndex(std::numeric_limits<quint64>::max()));
    QCOMPARE(_cache->lastViewing(), daysAgo(5));
    // The number of filtered items limits the index, not the number of all items.
    _cache->setCategoriesOfInterest({"none"});
    QVERIFY(!_cache->itemAtIndex(0));
    QCOMPARE(_cache->lastViewing(), daysAgo(5));
}

void OlvNewsCacheFilteredTest::keepsTheLastViewingExactly() {
    const QDateTime precise = now.addMSecs(1).toOffsetFromUtc(3600);
    _cache->setLastViewing(precise);
    QCOMPARE(_cache->lastViewing(), precise);
    _cache->setLastViewing(daysAgo(9));
    QCOMPARE(_cache->lastViewing(), daysAgo(9));
    _cache->setLastViewing({});
    QVERIFY(!_cache->lastViewing().isValid());
}

void OlvNewsCacheFilteredTest::settingTheLastViewingDoesNotFilter() {
    _cache->setLastViewing(daysAgo(5));
    _cache->setShowOnlyUnviewedItems(true);
    fill({{"a", {}, daysAgo(1)}});
    _cache->setLastViewing(daysAgo(0));
    QCOMPARE(_cache->count(), 1U);
    _cache->applyFilter();
    QCOMPARE(_cache->count(), 0U);
}

void OlvNewsCacheFilteredTest::peeksAtTheLatestItem() {
    _cache->setLastViewing(daysAgo(5));
    fill({{"no date"},
          {"old", {}, daysAgo(4)},
          {"latest", {}, daysAgo(1)},
          {"as late", {}, daysAgo(1)},
          {"older", {}, daysAgo(2)}});
    QCOMPARE(_cache->peekAtLatestItem()->title(), QStringLiteral("latest"));
    QCOMPARE(_cache->lastViewing(), daysAgo(5));
    QCOMPARE(_cache->sinceLastViewingCount(), 4);
}

void OlvNewsCacheFilteredTest::peeksAtTheFirstItemWhenNoneHasADate() {
    fill({{"first"}, {"second"}});
    QCOMPARE(_cache->peekAtLatestItem()->title(), QStringLiteral("first"));
    _cache->setCategoriesOfInterest({"none"});
    QVERIFY(!_cache->peekAtLatestItem());
}

void OlvNewsCacheFilteredTest::anEmptyFeedLeavesTheView() {
    fill({{"a"}, {"b"}});
    _loader->setOutcome(ScriptedLoader::answer(200, feedText("en", {}).toUtf8()));
    QVERIFY(!refreshAndWait(_cache).error);
    QCOMPARE(_cache->unfilteredCount(), 0U);
    QCOMPARE(view(), (QStringList{"a", "b"}));
    // Only `applyFilter` filters the new, empty list.
    _cache->applyFilter();
    QCOMPARE(_cache->count(), 0U);
}

void OlvNewsCacheFilteredTest::aFailedRefreshFiltersWhatTheFileGives() {
    _cache->setCategoriesOfInterest({"mac"});
    const QString text = feedText("en", {{"a", "mac"}, {"b", "pc"}});
    QVERIFY(writeBytes(cacheFolder("com.example.FilteredTest") + "/PelorinNews.xml",
                       byteOrderMark() + utf16Bytes(text)));
    _loader->setOutcome(ScriptedLoader::answer(404, "gone"));
    QCOMPARE(refreshAndWait(_cache).error.value_or(Error()).code, 404);
    QCOMPARE(_cache->unfilteredCount(), 2U);
    QCOMPARE(view(), QStringList{"a"});
}

void OlvNewsCacheFilteredTest::aRefreshThatCannotStartFiltersBeforeItReturns() {
    QVERIFY(_cache->parseFeed(feedOfTitles("en", {"a"}), nullptr));
    _cache->setFeedBaseURL({});
    _cache->refresh({});
    QCOMPARE(_cache->count(), 1U);
    bool called = false;
    _cache->refresh([&called](const std::optional<Error> &error) {
        called = true;
        QCOMPARE(error.value_or(Error()).code, -2);
    });
    QVERIFY(called);
}

void OlvNewsCacheFilteredTest::filtersBeforeTheCompletion() {
    _loader->setOutcome(ScriptedLoader::answer(200, feedOfTitles("en", {"a", "b"}).toUtf8()));
    std::promise<quint64> counted;
    _cache->refresh([&](const std::optional<Error> &) { counted.set_value(_cache->count()); });
    auto future = counted.get_future();
    QCOMPARE(future.wait_for(std::chrono::milliseconds(testPatience)), std::future_status::ready);
    QCOMPARE(future.get(), 2U);
}

void OlvNewsCacheFilteredTest::aParseAloneDoesNotFilter() {
    fill({{"a"}});
    QVERIFY(_cache->parseFeed(feedOfTitles("en", {"b", "c"}), nullptr));
    QCOMPARE(view(), QStringList{"a"});
}

PELORIN_CORE_TEST_MAIN(OlvNewsCacheFilteredTest)
#include "OlvNewsCacheFilteredTest.moc"
