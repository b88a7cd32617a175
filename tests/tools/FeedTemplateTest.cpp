#include "FeedTemplate.h"
#include "TestMain.h"

#include <QTimeZone>

using namespace pelorinnews;

class FeedTemplateTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void datesAreRelativeAndInTheLanguageAskedFor_data();
    void datesAreRelativeAndInTheLanguageAskedFor();
};

void FeedTemplateTest::datesAreRelativeAndInTheLanguageAskedFor_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QByteArray>("rendered");
    const auto row = [](const char *name, const char *text, const char *locale,
                        const char *rendered) {
        QTest::newRow(name) << QByteArray(text) << QString::fromLatin1(locale)
                            << QByteArray(rendered);
    };
    row("now", "a {{now}} b", "en", "a Mon, 02 Mar 2015 10:00:00 GMT b");
    row("days", "{{now-3d}}", "en", "Fri, 27 Feb 2015 10:00:00 GMT");
    row("several units", "{{now-1d2h30m5s}}", "en", "Sun, 01 Mar 2015 07:29:55 GMT");
    row("forwards", "{{now+1h}}", "en", "Mon, 02 Mar 2015 11:00:00 GMT");
    row("both ways", "{{now-1d+1h}}", "en", "Sun, 01 Mar 2015 11:00:00 GMT");
    row("German", "{{now}}", "de", "Mo., 02 Mär 2015 10:00:00 GMT");
    row("German of Germany", "{{now}}", "de-DE", "Mo., 02 Mär 2015 10:00:00 GMT");
    row("an underscore", "{{now}}", "de_DE", "Mo., 02 Mär 2015 10:00:00 GMT");
    row("the language's name of a month, not the region's", "{{now+190d}}", "en-GB",
        "Tue, 08 Sep 2015 10:00:00 GMT");
    row("German of Austria", "{{now-40d}}", "de-AT", "Mi., 21 Jan 2015 10:00:00 GMT");
    row("a script", "{{now}}", "sr-Latn-RS", "pon, 02 mar 2015 10:00:00 GMT");
    row("a region's script", "{{now}}", "zh-TW", "週一, 02 3月 2015 10:00:00 GMT");
    row("a region's calendar", "{{now}}", "th-TH", "จ., 02 มี.ค. 2558 10:00:00 GMT");
    row("no locale is English", "{{now}}", "", "Mon, 02 Mar 2015 10:00:00 GMT");
    row("twice", "{{now}}{{now}}", "en",
        "Mon, 02 Mar 2015 10:00:00 GMTMon, 02 Mar 2015 10:00:00 GMT");
    row("other braces stay", "{{then}} {{now-3x}} {{now", "en", "{{then}} {{now-3x}} {{now");
    row("other bytes stay", "gr\xc3\xbcn\xff{{now}}", "en",
        "gr\xc3\xbcn\xffMon, 02 Mar 2015 10:00:00 GMT");
    row("nothing", "", "en", "");
}

void FeedTemplateTest::datesAreRelativeAndInTheLanguageAskedFor() {
    QFETCH(const QByteArray, text);
    QFETCH(const QString, locale);
    QFETCH(const QByteArray, rendered);
    const QDateTime now(QDate(2015, 3, 2), QTime(10, 0), QTimeZone::utc());
    QCOMPARE(FeedTemplate::render(text, locale, now), rendered);
}

PELORIN_CORE_TEST_MAIN(FeedTemplateTest)
#include "FeedTemplateTest.moc"
