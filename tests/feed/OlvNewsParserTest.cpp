#include "TestMain.h"
#include "feed/OlvNewsParser.h"

#include <thread>
#include <vector>

using namespace pelorinnews;

namespace {

std::shared_ptr<OlvNewsItemList> listOf(const std::optional<QVariantMap> &result) {
    return result ? result->value(OlvNewsFeedNewsCacheItemsKeyName)
                        .value<std::shared_ptr<OlvNewsItemList>>()
                  : nullptr;
}

QString languageOf(const std::optional<QVariantMap> &result) {
    return result ? result->value(OlvNewsFeedChannelLanguageKeyName).toString() : QString();
}

QString feed(const QString &items) {
    return QStringLiteral("<rss><language>en</language>") + items + QStringLiteral("</rss>");
}

/// The date that the parser reads for a user of `locale`; for the current user if `locale` is
/// empty.
QDateTime onlyDateOf(const QString &date, const QString &locale = {}) {
    const auto list = listOf(OlvNewsParser(locale).parse(
        feed(QStringLiteral("<item><pubDate>") + date + QStringLiteral("</pubDate></item>"))));
    return list && list->size() == 1 ? list->front()->date() : QDateTime();
}

const QString sampleDate = QStringLiteral("Mon, 02 Mar 2015 10:00:00 GMT");
const QDateTime sampleInstant(QDate(2015, 3, 2), QTime(10, 0), Qt::UTC);

/// Sets an environment variable during the object's lifetime.
class Variable {
public:
    Variable(const char *variable, const QByteArray &value)
        : _name(variable), _before(qgetenv(variable)) {
        qputenv(_name, value);
    }
    Variable(const Variable &) = delete;
    Variable &operator=(const Variable &) = delete;
    ~Variable() { qputenv(_name, _before); }

private:
    const char *_name;
    QByteArray _before;
};

}  // namespace

class OlvNewsParserTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aResultHasExactlyTwoEntries() {
        const auto result = OlvNewsParser().parse(feed(QStringLiteral("<item/>")));
        QVERIFY(result);
        QCOMPARE(result->keys(), QStringList({QStringLiteral("OlvNewsFeedChannelLanguageKeyName"),
                                              QStringLiteral("OlvNewsFeedNewsCacheItemsKeyName")}));
        QCOMPARE(languageOf(result), QStringLiteral("en"));
        QCOMPARE(listOf(result)->size(), 1U);
    }

    void anAbsentTextGivesNothingAndNoError() {
        const Error untouched{QStringLiteral("untouched"), 1, {}};
        Error error = untouched;
        QVERIFY(!OlvNewsParser().parse(QString(), &error));
        QVERIFY(!OlvNewsParser().parse(QByteArrayView(), &error));
        QCOMPARE(error, untouched);
    }

    void anEmptyTextIsADocumentThatFails() {
        Error error;
        QVERIFY(!OlvNewsParser().parse(QStringLiteral(""), &error));
        QCOMPARE(error.domain, XmlError::domain());
    }

    void anErrorOfAnEarlierParseIsForgotten() {
        OlvNewsParser parser;
        Error error;
        QVERIFY(!parser.parse(QStringLiteral("<a"), &error));
        QVERIFY(!error.domain.isEmpty());
        error = {};
        QVERIFY(parser.parse(feed({}), &error));
        QCOMPARE(error, Error());
    }

    void aLanguageOfAnEarlierParseIsForgotten() {
        OlvNewsParser parser;
        QVERIFY(parser.parse(feed({})));
        QVERIFY(!parser.parse(QStringLiteral("<rss/>")));
    }

    void aSecondParseEmptiesTheListOfTheFirstInPlace() {
        OlvNewsParser parser;
        const auto first = listOf(parser.parse(feed(QStringLiteral("<item/><item/>"))));
        QCOMPARE(first->size(), 2U);
        const auto second = listOf(parser.parse(feed(QStringLiteral("<item/>"))));
        QCOMPARE(second, first);
        QCOMPARE(first->size(), 1U);
        QVERIFY(!parser.parse(QString()));
        QCOMPARE(first->size(), 0U);
    }

    void anItemLeftOpenStaysOpenIntoTheNextParse() {
        OlvNewsParser parser;
        parser.parse(QStringLiteral("<rss><item><title>Left</title>"));
        const auto list = listOf(parser.parse(
            QStringLiteral("<rss><language>en</language><comments>Right</comments></rss>")));
        QVERIFY(list->empty());
        parser.parserDidEndElement("item");
        QCOMPARE(list->size(), 1U);
        QCOMPARE(list->front()->title(), QStringLiteral("Left"));
        QCOMPARE(list->front()->plainTextContent(), QStringLiteral("Right"));
    }

    void anErrorIsStoredBesideAResult() {
        Error error;
        const auto result = OlvNewsParser().parse(
            QStringLiteral("<rss><language>en</language><item/>\n<item></rss>"), &error);
        QVERIFY(result);
        QCOMPARE(listOf(result)->size(), 1U);
        QCOMPARE(error.domain, XmlError::domain());
        QCOMPARE(error.userInfo.value(XmlError::lineNumberKey()).toInt(), 2);
        QCOMPARE(error.userInfo.value(XmlError::columnNumberKey()).toInt(), 9);
        QCOMPARE(error.userInfo.value(Error::localizedDescriptionKey()).toString(),
                 QStringLiteral("mismatched tag at line 2, column 9"));
    }

    void aSectionThatIsNotUtf8IsReportedAndLeavesTheText() {
        OlvNewsParser parser;
        // The list fills as XML events arrive; here the test calls the event handlers directly.
        const auto list = listOf(parser.parse(feed({})));
        parser.parserDidStartElement("item");
        parser.parserDidStartElement("title");
        parser.parserFoundCharacters("kept");
        QTest::ignoreMessage(QtWarningMsg, "parser failed extracting string from data :(");
        parser.parserFoundCDATA(QByteArrayView("\xE4\xF6", 2));
        parser.parserFoundCharacters("!");
        parser.parserDidEndElement("title");
        parser.parserDidEndElement("item");
        QCOMPARE(list->size(), 1U);
        QCOMPARE(list->front()->title(), QStringLiteral("kept!"));
    }

    void theSampleDateIsReadUnderAnEnglishLocaleOnly_data() {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<bool>("english");
        for (const char *const locale : {"en", "en_US", "en_GB", "en_DE"})
            QTest::newRow(locale) << QString::fromLatin1(locale) << true;
        for (const char *const locale : {"de", "de_DE", "de_US", "fr_FR", "th_TH", "fa_IR"})
            QTest::newRow(locale) << QString::fromLatin1(locale) << false;
    }

    void theSampleDateIsReadUnderAnEnglishLocaleOnly() {
        QFETCH(const QString, locale);
        QFETCH(const bool, english);
        QCOMPARE(onlyDateOf(sampleDate, locale), english ? sampleInstant : QDateTime());
    }

    void aDateInTheUsersLanguageIsRead_data() {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("date");
        const auto row = [](const char *locale, const char *date) {
            QTest::newRow(locale) << QString::fromLatin1(locale) << QString::fromUtf8(date);
        };
        row("de_DE", "Mo., 02 Mär 2015 10:00:00 GMT");
        row("de_AT", "Mo., 02 Mär 2015 10:00:00 GMT");
        row("fr_FR", "lun., 02 mars 2015 10:00:00 GMT");
        row("th_TH", "จ., 02 มี.ค. 2558 10:00:00 GMT");
        row("fa_IR", "دوشنبه, ۱۱ اسفند ۱۳۹۳ ۱۰:۰۰:۰۰ GMT");
    }

    void aDateInTheUsersLanguageIsRead() {
        QFETCH(const QString, locale);
        QFETCH(const QString, date);
        QCOMPARE(onlyDateOf(date, locale), sampleInstant);
    }

    void datesAreReadAsTheUserOfTheMomentReadsThem() {
        // The language stays the same; the region decides how September is abbreviated.
        const QString september = QStringLiteral("Wed, 02 Sept 2015 10:00:00 GMT");
        {
            const Variable all("LC_ALL", "en_GB.UTF-8");
            QVERIFY(onlyDateOf(september).isValid());
        }
        const Variable all("LC_ALL", "en_US.UTF-8");
        QVERIFY(!onlyDateOf(september).isValid());
        QVERIFY(onlyDateOf(sampleDate).isValid());
    }

    void theUsersTimeZoneDoesNotMoveADateWithAZone() {
        const Variable zone("TZ", "Asia/Tokyo");
        QCOMPARE(onlyDateOf(sampleDate), sampleInstant);
    }

    void equalCategoriesShareTheirText() {
        const auto list = listOf(OlvNewsParser().parse(
            feed(QStringLiteral("<item><category>mac pelorin</category></item>").repeated(2))));
        QCOMPARE(list->at(0)->category().constData(), list->at(1)->category().constData());
    }

    void noMoreThan256CategoriesShareTheirText() {
        constexpr size_t many = 257;
        QString items;
        for (size_t i = 0; i < 2 * many; ++i)
            items += QStringLiteral("<item><category>%1</category></item>").arg(i % many);
        const auto list = listOf(OlvNewsParser().parse(feed(items)));
        for (size_t i = 0; i < many; ++i) {
            const QString first = list->at(i)->category();
            const QString second = list->at(many + i)->category();
            QCOMPARE(second, first);
            QCOMPARE(second.constData() == first.constData(), i < 256);
        }
    }

    void textsHaveNoSpareCapacity() {
        // Each letter takes two bytes in the feed.
        const QString title(1000, QChar(u'ö'));
        const QByteArray utf8 =
            feed(QStringLiteral("<item><title>%1</title></item>").arg(title)).toUtf8();
        const auto list = listOf(OlvNewsParser().parse(QByteArrayView(utf8)));
        QCOMPARE(list->front()->title(), title);
        QVERIFY(list->front()->title().capacity() < 1100);
    }

    void aFeedWithEveryCategoryDifferentKeepsThemAll() {
        QString items;
        for (int i = 0; i < 1000; ++i)
            items += QStringLiteral("<item><category>%1</category></item>").arg(i);
        const auto list = listOf(OlvNewsParser().parse(feed(items)));
        for (size_t i = 0; i < 1000; ++i)
            QCOMPARE(list->at(i)->category(), QString::number(i));
    }

    void aFeedMayHaveAHundredThousandItems() {
        const QString items = QStringLiteral("<item/>").repeated(100'000);
        const Error untouched{QStringLiteral("untouched"), 1, {}};
        Error error = untouched;
        QCOMPARE(listOf(OlvNewsParser().parse(feed(items), &error))->size(), 100'000U);
        QCOMPARE(error, untouched);

        // An unfinished item that a nested item replaces does not count towards the limit of items.
        const QString one = QStringLiteral("\n<item><title>1</title><item/>");
        const auto result = OlvNewsParser().parse(feed(items + one), &error);
        QCOMPARE(languageOf(result), QStringLiteral("en"));
        QCOMPARE(listOf(result)->size(), 100'000U);
        QVERIFY(listOf(result)->back()->title().isNull());
        QCOMPARE(error.domain, XmlError::domain());
        QCOMPARE(error.code, XmlError::RefusedByDelegate);
        QCOMPARE(error.userInfo.value(Error::localizedDescriptionKey()).toString(),
                 QStringLiteral("more than 100000 items at line 2, column 1"));
        QCOMPARE(listOf(OlvNewsParser().parse(feed(one + items.chopped(7)), &error))->size(),
                 100'000U);
    }

    void anItemOutlivesItsListAndItsParser() {
        std::shared_ptr<OlvNewsCacheItem> item;
        {
            const auto list = listOf(OlvNewsParser().parse(
                feed(QStringLiteral("<item/><item><title>Kept</title></item><item/>"))));
            item = list->at(1);
        }
        QCOMPARE(item->title(), QStringLiteral("Kept"));
    }

    void aLoneSurrogateIsReadAsAReplacementCharacter() {
        const QString text = feed(QStringLiteral("<item><title>a") + QChar(0xD83D) +
                                  QStringLiteral("b</title></item>"));
        const auto list = listOf(OlvNewsParser().parse(text));
        QVERIFY(list);
        QCOMPARE(list->front()->title(), QStringLiteral("a\uFFFDb"));
    }

    void aLongTextIsReadInPiecesThatSplitNoCharacter() {
        QString title;
        for (int i = 0; i < 400'000; ++i)
            title += i % 3 == 0 ? QStringLiteral("x") : QStringLiteral("😀");
        const QString text = feed(QStringLiteral("<item><title>") + title +
                                  QStringLiteral("</title><description><![CDATA[") + title +
                                  QStringLiteral("]]></description></item>"));
        const auto list = listOf(OlvNewsParser().parse(text));
        QVERIFY(list);
        QVERIFY(list->front()->title() == title);
        QVERIFY(list->front()->htmlContent() == title);
    }

    void veryDeepNestingIsRead() {
        const int depth = 100'000;
        const QString text =
            feed(QStringLiteral("<item>") + QStringLiteral("<a>").repeated(depth) +
                 QStringLiteral("<title>Deep</title>") + QStringLiteral("</a>").repeated(depth) +
                 QStringLiteral("</item>"));
        const auto list = listOf(OlvNewsParser().parse(text));
        QVERIFY(list);
        QCOMPARE(list->front()->title(), QStringLiteral("Deep"));
    }

    void endlessNestingIsAnErrorThatKeepsTheItemsBefore() {
        const QString text = feed(QStringLiteral("<item/>") +
                                  QStringLiteral("<a>").repeated(2 * XmlLimits::maxOpenElements) +
                                  QStringLiteral("<item/>"));
        Error error;
        const auto result = OlvNewsParser().parse(text, &error);
        QCOMPARE(languageOf(result), QStringLiteral("en"));
        QCOMPARE(listOf(result)->size(), 1U);
        QCOMPARE(error.domain, XmlError::domain());
        QCOMPARE(error.code, XmlError::TooDeep);
    }

    void aHugeAttributeTakesLinearTime() {
        const QString text = QStringLiteral("<rss a=\"") + QString(50'000'000, u'x') +
                             QStringLiteral("\"><language>en</language></rss>");
        const auto result = OlvNewsParser().parse(text);
        QCOMPARE(languageOf(result), QStringLiteral("en"));
    }

    void severalParsersReadAtOnce() {
        const QString text = feed(QStringLiteral("<item><title>One</title><pubDate>") + sampleDate +
                                  QStringLiteral("</pubDate><category>mac</category></item>"))
                                 .replace(QStringLiteral("</rss>"), QString()) +
                             QStringLiteral("<item/>").repeated(200) + QStringLiteral("</rss>");
        std::vector<std::shared_ptr<OlvNewsItemList>> lists(4);
        std::vector<std::thread> threads;
        for (auto &list : lists)
            threads.emplace_back([&] {
                for (int i = 0; i < 20; ++i)
                    list = listOf(OlvNewsParser().parse(text));
            });
        for (std::thread &thread : threads)
            thread.join();
        for (const auto &list : lists) {
            QVERIFY(list);
            QCOMPARE(list->size(), 201U);
            QCOMPARE(list->front()->date(), sampleInstant);
            QCOMPARE(list->front()->category(), QStringLiteral("mac"));
        }
    }
};

int main(int argc, char *argv[]) {
    // Set the user's language first: Qt reads it only once.
    qputenv("LANGUAGE", "en_US");
    const test::TestHome home;
    const QCoreApplication application(argc, argv);
    OlvNewsParserTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "OlvNewsParserTest.moc"
