#include "OlvNewsParser.h"
#include "TestMain.h"

using namespace pelorinnews;

namespace {

OlvNewsItemList itemsOf(const std::optional<QVariantMap> &result) {
    if (!result)
        return {};
    return *result->value(OlvNewsFeedNewsCacheItemsKeyName)
                .value<std::shared_ptr<OlvNewsItemList>>();
}

QString languageOf(const std::optional<QVariantMap> &result) {
    return result ? result->value(OlvNewsFeedChannelLanguageKeyName).toString() : QString();
}

}  // namespace

class OlvNewsParserTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aResultHasTheLanguageAndTheItemsUnderTheirKeys() {
        const auto result = OlvNewsParser().parse(
            QStringLiteral("<rss><language>en</language><item><title>One</title>"
                           "<pubDate>Mon, 02 Mar 2015 10:00:00 GMT</pubDate></item></rss>"));
        QVERIFY(result);
        QCOMPARE(result->keys(), QStringList({QStringLiteral("OlvNewsFeedChannelLanguageKeyName"),
                                              QStringLiteral("OlvNewsFeedNewsCacheItemsKeyName")}));
        QCOMPARE(languageOf(result), QStringLiteral("en"));
        const auto items = itemsOf(result);
        QCOMPARE(items.size(), 1U);
        QCOMPARE(items[0]->title(), QStringLiteral("One"));
        QCOMPARE(items[0]->date(), QDateTime(QDate(2015, 3, 2), QTime(10, 0), Qt::UTC));
        QVERIFY(items[0]->category().isNull());
    }
};

PELORIN_CORE_TEST_MAIN(OlvNewsParserTest)
#include "OlvNewsParserTest.moc"
