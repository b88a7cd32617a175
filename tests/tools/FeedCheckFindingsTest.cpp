#include "FeedCheckRun.h"
#include "FeedServer.h"
#include "FeedTemplate.h"
#include "TestMain.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QRandomGenerator>
#include <QSet>
#include <QTemporaryDir>

using namespace pelorinnews;

namespace {

/// The findings in `outcome`, each as "line name"; the line is 0 if the finding has none.
QStringList namesIn(const Outcome &outcome) {
    QStringList names;
    const QJsonArray findings = outcome.json().value("findings").toArray();
    for (const QJsonValue &finding : findings)
        names.append(QString::number(finding["line"].toInt()) + u' ' + finding["name"].toString());
    return names;
}

/// The names that the program can print.
QStringList possibleNames() {
    QStringList names;
    const QList<QByteArray> rows = check({"--list-findings"}).output.trimmed().split('\n');
    for (const QByteArray &row : rows)
        names.append(QString::fromUtf8(row.simplified().split(' ').value(1)));
    return names;
}

/// A feed whose only item begins in line 4, with `from` replaced by `to`.
QByteArray replaced(const QByteArray &from, const QByteArray &to) {
    return feed("\n" + item("a").replace(from, to));
}

/// The same with `html` as the item's page, which begins in line 5.
QByteArray page(const QByteArray &html) {
    return replaced("html", "<![CDATA[\n" + html + "]]>");
}

/// A PNG: noise up to 1000 pixels wide, else black.
QByteArray picture(int width, int height) {
    QImage image(width, height, width > 1000 ? QImage::Format_Mono : QImage::Format_RGB32);
    image.fill(0);
    QRandomGenerator noise(1);
    for (int y = 0; y < height && width <= 1000; ++y) {
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, noise.generate());
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    return buffer.open(QBuffer::WriteOnly) && image.save(&buffer, "png") ? bytes : QByteArray();
}

QByteArray embedded(const QByteArray &picture) {
    return "data:image/png;base64," + picture.toBase64();
}

QByteArray dated(const QByteArray &date) {
    return replaced(daysAgo(1), date);
}

struct Case {
    const char *name;
    QByteArray input;
    /// Each as "line name".
    QStringList expected;
    QStringList options;
    QByteArray environment = "LC_ALL=en_US.UTF-8";
};

QList<Case> documentCases() {
    QByteArray attributes = "<!DOCTYPE rss [<!ATTLIST rss";
    for (int i = 0; i <= 1000; ++i)
        attributes += " a" + QByteArray::number(i) + " CDATA #IMPLIED";
    attributes += ">]>";
    return {
        {"nothing", "", {"1 document-empty"}, {}},
        {"blanks", " \n\n", {"1 document-empty"}, {}},
        {"UTF-16", QByteArray("\xff\xfe<\0r\0>\0", 8), {"1 document-utf-16"}, {}},
        {"UTF-32", QByteArray("\xff\xfe\0\0<\0\0\0", 8), {"1 document-utf-16"}, {}},
        {"UTF-16 without a mark", QByteArray("\0<\0r\0>", 6), {"1 document-utf-16"}, {}},
        {"bytes", feed("\n" + item("\xff")), {"4 document-not-utf-8"}, {}},
        {"a saved reply",
         "HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\n\r\n" + feed(item("a")),
         {"1 document-http-head"},
         {}},
        {"a web page", "<!doctype html>\n<title>Not found</title>", {"1 document-html"}, {}},
        {"XHTML", "<?xml version='1.0'?>\n<html><body/></html>", {"1 document-html"}, {}},
        {"JSON", "{\"version\": \"https://jsonfeed.org/version/1\"}", {"1 document-json"}, {}},
        {"Atom",
         "<?xml version='1.0'?>\n<feed xmlns='http://www.w3.org/2005/Atom'><entry/></feed>",
         {"2 document-atom"},
         {}},
        {"RSS 1.0", "<!-- -->\n<rdf:RDF><channel/></rdf:RDF>", {"2 document-rdf"}, {}},
        {"a blank first line",
         "\n<?xml version='1.0'?>" + feed(item("a")),
         {"2 declaration-late"},
         {}},
        {"a message before the declaration",
         "<br />\n<b>Warning</b>: x\n<?xml version='1.0'?>" + feed(item("a")),
         {"1 declaration-late"},
         {}},
        {"a document that is cut off",
         feed("\n" + item("a") + "\n<x").chopped(20),
         {"5 xml-broken"},
         {}},
        {"another encoding",
         "<?xml version='1.0' encoding='latin1'?>" + feed(item("a")),
         {"1 encoding-ignored"},
         {}},
        {"an ampersand", feed("\n" + item("a") + "<x>a & b</x>"), {"4 ampersand-bare"}, {}},
        {"an ampersand in an address",
         feed("\n" + item("a") + "<x href='?a=1&b=2'/>"),
         {"4 ampersand-bare"},
         {}},
        {"an entity", feed("\n" + item("a") + "<x>&eacute;</x>"), {"4 entity-undeclared"}, {}},
        {"an entity that an external type may declare",
         "<!DOCTYPE rss SYSTEM 'http://127.0.0.1:9/rss.dtd'>" +
             feed("\n" + item("a") + "<x>&eacute;</x>"),
         {"4 entity-undeclared"},
         {}},
        {"an entity in an entity",
         "<!DOCTYPE rss [<!ENTITY a ''><!ENTITY b '&a;'>]>" + feed("\n" + item("a") + "<x>&b;</x>"),
         {"4 entity-refused"},
         {}},
        {"attributes", attributes + feed(item("a")), {"1 limit-exceeded"}, {}},
        {"a wrong end tag", feed("\n" + item("a") + "</wrong>"), {"4 xml-broken"}, {}},
        {"an angle bracket beside a good ampersand",
         feed("\n" + item("a") + "<x>&amp; < b</x>"),
         {"4 xml-broken"},
         {}},
    };
}

QList<Case> feedCases() {
    return {
        {"no item", feed(""), {"1 feed-empty"}, {}},
        {"no language", "\n" + feed(item("a"), ""), {"2 language-missing"}, {}},
        {"no language and no date",
         feed("<item><title>a</title><category>mac pelorin</category><description>html"
              "</description><comments>text</comments></item>",
              ""),
         {"1 language-missing", "3 date-missing"},
         {}},
        {"empty language", feed(item("a"), "<language/>"), {"2 language-empty"}, {}},
        {"language with a blank",
         feed(item("a"), "<language>en </language>"),
         {"2 language-blank"},
         {}},
        {"the language's name",
         feed(item("a"), "<language>English</language>"),
         {"2 language-unknown"},
         {}},
        {"wrong case", feed(item("a"), "<language>EN-us</language>"), {"2 language-unknown"}, {}},
        {"underscore", feed(item("a"), "<language>en_US</language>"), {"2 language-unknown"}, {}},
        {"another reader",
         feed(item("a"), "<language>de</language>"),
         {"2 language-other"},
         {"--locale=en_US"}},
        {"more special than the reader",
         feed(item("a"), "<language>en-US</language>"),
         {"2 language-other"},
         {"--locale=en"}},
        {"a language that users combine with a region",
         feed(item("a"), "<language>en-DE</language>"),
         {},
         {}},
        {"a script", feed(item("a"), "<language>en-Latn</language>"), {}, {}},
        {"an extension",
         feed(item("a"), "<language>en-x-news</language>"),
         {"2 language-unknown"},
         {}},
        {"a reader whom it reaches", feed(item("a")), {}, {"--locale=en_GB"}},
        {"two languages",
         feed(item("a"), "<language>de</language>\n<language>en</language>"),
         {"3 language-repeated"},
         {}},
        {"language in an item",
         feed("\n" + item("a").replace("<item>", "<item><language>en</language>"), ""),
         {"4 language-in-item"},
         {}},
        {"open items",
         "<rss><language>en</language>\n" + item("a") + "\n<item>\n",
         {"3 item-unclosed", "4 xml-broken"},
         {}},
        {"twice the same", feed(item("a", 1) + "\n" + item("a", 2)), {"4 item-duplicate"}, {}},
        {"order", feed(item("a", 2) + "\n" + item("b", 1)), {"4 item-order"}, {}},
        {"wrong name", replaced("<item>", "<item><Title>x</Title>"), {"4 element-misspelt"}, {}},
        {"again", replaced("<title>", "<title>x</title>\n<title>"), {"5 element-repeated"}, {}},
        {"enclosures, told once",
         feed(item("a", 1).replace("<item>", "<item>\n<enclosure url='x'/>") +
              item("b", 2).replace("<item>", "<item>\n<enclosure url='x'/>")),
         {"4 element-unread"},
         {}},
        {"text between the elements", replaced("<title>", "\nlost<title>"), {"5 text-unread"}, {}},
        {"a section between the elements",
         replaced("<title>", "\n<![CDATA[lost]]> too<title>"),
         {"5 text-unread"},
         {}},
        {"text between the items",
         replaced("</item>", "</item>\nlost\n<x>y</x> too"),
         {"5 text-unread"},
         {}},
        {"text before the items", replaced("<item>", "lost<item>"), {"4 text-unread"}, {}},
        {"text of an element that the panel does not know",
         replaced("<title>", "<guid>x</guid><title>"),
         {},
         {}},
        {"another element for the page",
         replaced("<item>", "<item><content:encoded>x</content:encoded>"),
         {"4 content-encoded"},
         {}},
        {"the same with another prefix",
         replaced("<item>", "<item><encoded xmlns='http://purl.org/x'>x</encoded>"),
         {"4 content-encoded"},
         {}},
        {"tags", replaced("html", "<p>a</p>"), {"4 markup-outside-cdata"}, {}},
        {"text before a section of several lines",
         replaced("html", "lost\n<![CDATA[one\ntwo\nthree]]>"),
         {"5 cdata-replaces-text"},
         {}},
    };
}

QList<Case> itemCases() {
    return {
        {"no title", replaced("<title>a</title>", ""), {"4 title-missing"}, {}},
        {"HTML in a title",
         replaced("<title>a", "<title>&lt;b&gt;a&lt;/b&gt;"),
         {"4 title-html"},
         {}},
        {"a title escaped twice",
         replaced("<title>a", "<title>a &amp;amp; b"),
         {"4 title-html"},
         {}},
        {"signs in a title", replaced("<title>a", "<title>1 &lt; 2 &amp; 3 &gt; 2"), {}, {}},
        {"no plain text", replaced("<comments>text</comments>", ""), {"4 comments-missing"}, {}},
        {"an address",
         replaced("text", "https://www.olvane.example/comments"),
         {"4 comments-address"},
         {}},
        {"an address without a scheme",
         replaced("text</comments>", "www.olvane.example</comments>"),
         {"4 comments-address"},
         {}},
        {"HTML in the plain text", replaced("text", "&lt;p&gt;a"), {"4 comments-html"}, {}},
        {"no category",
         replaced("<category>mac pelorin</category>", ""),
         {"4 category-missing"},
         {}},
        {"half a category", replaced("mac pelorin", "mac"), {"4 category-unshown"}, {}},
        {"capital letters", replaced("pelorin", "pelorin Critical"), {"4 category-critical"}, {}},
        {"no date", replaced("<pubDate>" + daysAgo(1) + "</pubDate>", ""), {"4 date-missing"}, {}},
        {"one digit", dated("Mon, 2 Mar 2015 10:00:00 GMT"), {"4 date-unreadable"}, {}},
        {"a date in German",
         feed("\n" + item("a").replace(daysAgo(1), "Mo., 02 Mär 2015 10:00:00 GMT"),
              "<language>de</language>"),
         {},
         {}},
        {"a month that only some regions know",
         dated("Tue, 01 Sept 2015 10:00:00 GMT"),
         {"4 date-region"},
         {},
         "LC_ALL=en_GB.UTF-8"},
        {"the same for an editor whose region does not know it",
         dated("Tue, 01 Sept 2015 10:00:00 GMT"),
         {"4 date-region"},
         {},
         "LC_ALL=C"},
        {"the same for one reader",
         dated("Tue, 01 Sept 2015 10:00:00 GMT"),
         {},
         {"--locale=en_GB"}},
        {"tomorrow", feed(item("a", -1)), {"3 date-future"}, {}},
        {"two digits", dated("Mon, 02 Mar 15 10:00:00 GMT"), {"4 date-year"}, {}},
        {"long ago", dated("Mon, 02 Mar 1981 10:00:00 GMT"), {"4 date-year"}, {}},
        {"two scripts",
         feed("\n" + item("a", 1).replace(daysAgo(1), "周一, 02 3月 2015 10:00:00 GMT") +
                  item("b", 2).replace(daysAgo(2), "周日, 01 3月 2015 10:00:00 GMT"),
              "<language>zh</language>"),
         {"4 date-script"},
         {}},
        {"wrong weekday", dated("Tue, 02 Mar 2015 10:00:00 GMT"), {"4 date-weekday"}, {}},
        {"a weekday that is right where the date was written",
         dated("Mon, 02 Mar 2015 23:30:00 -0800"),
         {},
         {}},
        {"a link outside of the page",
         replaced("<item>", "<item><link>https://www.olvane.example/?a=1&amp;b=2</link>"),
         {"4 link-unread"},
         {}},
        {"a link in the page, too",
         page("<a href='https://www.olvane.example/?a=1&amp;b=2'>x</a>")
             .replace("<item>", "<item><link>https://www.olvane.example/?a=1&amp;b=2</link>"),
         {},
         {}},
    };
}

QList<Case> pageCases() {
    const QByteArray pixel = embedded(picture(1, 1));
    // Noise cannot be compressed.
    const QByteArray large = embedded(picture(400, 400));
    const QByteArray vast = embedded(picture(8000, 8000));
    const QByteArray longPage = QByteArray("<p>one two three</p>\n").repeated(60'000);
    return {
        {"no page", replaced("<description>html</description>", ""), {"4 description-missing"}, {}},
        {"HTML escaped twice",
         replaced("html", "\n&amp;lt;p class='x'&amp;gt;a"),
         {"5 html-escaped"},
         {}},
        {"a reference escaped twice", page("<p>a\nb&amp;nbsp;c</p>"), {"6 html-escaped"}, {}},
        {"HTML that shows HTML",
         page("<code>&lt;p&gt;&amp;nbsp;</code><p>a &lt;b&gt; &amp; c; d&amp;e=f</p>"),
         {},
         {}},
        {"relative links, one of them twice",
         page("<p>a\n<a href='a.html'>x</a><a href='#b'>y</a><a href='a.html'>z</a>"),
         {"6 link-relative", "6 link-relative"},
         {}},
        {"empty link", page("<a href=''>x</a>"), {"5 link-relative"}, {}},
        {"relative link in a drawing",
         page("<svg><a xlink:href='a.html'>x</a></svg>"),
         {"5 link-relative"},
         {}},
        {"relative link with a base",
         page("<base href='https://h/'><a href='a.html'>x</a>"),
         {"5 link-relative"},
         {}},
        {"link without a host", page("<a href='http:a.html'>x</a>"), {"5 link-relative"}, {}},
        {"link to a file", page("<a href='file:///a'>x</a>"), {"5 link-local"}, {}},
        {"script in a link", page("<a href='javascript:x()'>x</a>"), {"5 link-local"}, {}},
        {"links to mail and telephones",
         page("<a href='mailto:a@olvane.example'>x</a><a href='tel:+1'>x</a>"),
         {},
         {}},
        {"relative picture", page("<p>\n\n<img src='a.png' alt='a'>"), {"7 picture-relative"}, {}},
        {"relative picture with a base",
         page("<base href='https://h/'><img src='a.png' alt='a'>"),
         {"5 picture-relative"},
         {}},
        {"picture without an address", page("<img alt='a'>"), {"5 picture-relative"}, {}},
        {"picture for densities only",
         page("<img srcset='https://h/a.png 1x, https://h/b.png 2x' alt='a'>"),
         {"5 picture-relative"},
         {}},
        {"relative pictures for densities",
         page("<img src='https://h/a.png' srcset='a.png, b.png 2x' alt='a'>"),
         {"5 picture-relative", "5 picture-relative"},
         {}},
        {"relative background",
         page("<table background='a.png'></table>"),
         {"5 picture-relative"},
         {}},
        {"relative picture in a drawing",
         page("<svg><image href='a.png'/></svg>"),
         {"5 picture-relative"},
         {}},
        {"relative picture in a style",
         page("<p style='background: url(&quot;a.png&quot;)'>a</p>"),
         {"5 picture-relative"},
         {}},
        {"a file in a style sheet",
         page("<style>\np { background: url( file:///a.png ) } /* url(b.png) */\n</style>"),
         {"5 picture-local"},
         {}},
        {"pictures of the web and of the page in a style sheet",
         page("<style>p { background: url('https://h/a.png'); mask: url(#a) } q { background: "
              "url(data:image/png;base64,AAAA) }</style>"),
         {},
         {}},
        {"style sheet on the web",
         page("<link rel='StyleSheet' href='https://h/a.css'>"),
         {"5 page-style-sheet"},
         {}},
        {"imported style sheets",
         page("<style>@import 'a.css'; @import url(b.css);</style>"),
         {"5 page-style-sheet", "5 page-style-sheet"},
         {}},
        {"an icon", page("<link rel='icon' href='https://h/a.png'>"), {}, {}},
        {"file", page("<img src='file:///a.png' alt='a'>"), {"5 picture-local"}, {}},
        {"no alternative", page("<img src='https://h/a.png'>"), {"5 picture-alternative"}, {}},
        {"picture on the web", page("<img src='https://h/a.png' alt='a'>"), {}, {}},
        {"embedded picture", page("<img src='" + pixel + "'>"), {}, {}},
        {"large picture", page("<img src='" + large + "'>"), {"5 picture-large"}, {}},
        {"broken picture",
         page("<img src='" + embedded("\x89PNG\r\n\x1a\n") + "'>"),
         {"5 picture-unshown"},
         {}},
        {"picture that is cut off",
         page("<img src='" + embedded(picture(20, 20).chopped(60)) + "'>"),
         {"5 picture-unshown"},
         {}},
        {"picture with too many pixels",
         page("<img src='" + vast + "'>"),
         {"5 picture-unshown"},
         {}},
        {"SVG", page("<img src='data:image/svg+xml,x'>"), {"5 picture-unshown"}, {}},
        {"text as a picture", page("<img src='data:text/plain,x'>"), {"5 picture-unshown"}, {}},
        {"script", page("<script>if (a < b) '</p>'</script>"), {"5 page-script"}, {}},
        {"handler", page("<p onclick='x()'>a"), {"5 page-script"}, {}},
        {"frame", page("<iframe src='https://h/'></iframe>"), {"5 page-frame"}, {}},
        {"film", page("<video src='https://h/a.mp4'></video>"), {"5 page-media"}, {}},
        {"form", page("<form><input></form>"), {"5 page-form"}, {}},
        {"plug-in", page("<embed src='https://h/a.swf'>"), {"5 page-plugin"}, {}},
        {"refresh",
         page("<meta http-equiv='Refresh' content='0; url=https://h/'>x"),
         {"5 page-refresh"},
         {}},
        {"long page", page(longPage), {"4 page-long"}, {}},
        {"a character for a line feed is no line",
         replaced("html", "&#10;&#10;\n&lt;a href='a.html'&gt;"),
         {"5 link-relative"},
         {}},
    };
}

QList<Case> allCases() {
    return documentCases() + feedCases() + itemCases() + pageCases();
}

}  // namespace

class FeedCheckFindingsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void eachMistakeHasItsNameAndLine_data() {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QByteArray>("environment");
        for (const Case &each : allCases())
            QTest::newRow(each.name)
                << each.input << each.expected << each.options << each.environment;
    }
    void eachMistakeHasItsNameAndLine() {
        QFETCH(const QByteArray, input);
        QFETCH(const QStringList, expected);
        QFETCH(const QStringList, options);
        QFETCH(const QByteArray, environment);
        const Outcome outcome = check(options + QStringList{"--json", "-"}, input, environment);
        QCOMPARE(namesIn(outcome), expected);
        const Outcome strict = check(options + QStringList{"--strict", "-"}, input, environment);
        QCOMPARE(strict.exitCode, expected.isEmpty() ? 0 : 1);
        for (const QString &each : expected) {
            const QString name = QStringLiteral("[%1]").arg(each.section(u' ', 1));
            QVERIFY2(strict.report().contains(name), strict.output.constData());
        }
    }

    void aSourceThatCannotBeReadHasNoLine() {
        const QTemporaryDir folder;
        const Outcome outcome = check({"--json", folder.filePath("missing.xml")});
        QCOMPARE(namesIn(outcome), QStringList{"0 source-unreadable"});
        const QJsonValue finding = outcome.json().value("findings").toArray().at(0);
        QVERIFY(finding["line"].isNull());
        QVERIFY(finding["item"].isNull());
    }

    void aStatusOfTheServiceIsNamed() {
        FeedServer server;
        FeedReply reply;
        reply.status = 503;
        server.setReply(reply);
        QVERIFY(server.start());
        QCOMPARE(namesIn(check({"--json", server.feedAddress()})), QStringList{"0 http-status"});
        QVERIFY(check({server.feedAddress()}).output.contains("HTTP status 503"));
        reply.status = 204;
        server.setReply(reply);
        QCOMPARE(namesIn(check({"--json", server.feedAddress()})), QStringList{"1 document-empty"});
        QVERIFY(check({server.feedAddress()}).output.contains("HTTP status 204"));
    }

    void anAddressThatThePanelDoesNotReadIsNamed() {
        const Outcome outcome = check({"ftp://127.0.0.1/feed.xml"});
        QCOMPARE(outcome.exitCode, 1);
        QVERIFY2(outcome.output.contains("http: and https:"), outcome.output.constData());
    }

    void everyPossibleFindingHasACase() {
        QSet<QString> tried{"source-unreadable", "http-status"};
        for (const Case &each : allCases()) {
            for (const QString &expected : each.expected)
                tried.insert(expected.section(u' ', 1));
        }
        const QStringList possible = possibleNames();
        QVERIFY(possible.size() > 50);
        QCOMPARE(tried, QSet<QString>(possible.begin(), possible.end()));
    }

    void everyPossibleFindingIsExplainedAndNoOther() {
        QFile guide(QStringLiteral(PELORIN_TEST_DATA "/../../docs/feedcheck.md"));
        QVERIFY(guide.open(QFile::ReadOnly));
        const QStringList lines = QString::fromUtf8(guide.readAll()).split(u'\n');
        QStringList explained;
        for (qsizetype i = 0; i + 2 < lines.size(); ++i) {
            if (!lines[i].startsWith(QLatin1String("### ")))
                continue;
            explained.append(lines[i].mid(4));
            QVERIFY2(lines[i + 1].isEmpty() && lines[i + 2].size() > 20, qPrintable(lines[i]));
        }
        QCOMPARE(explained, possibleNames());
    }

    void jsonTellsSeverityItemAndText() {
        const Outcome outcome = check({"--json", "-"}, replaced("mac pelorin", "mac"));
        QCOMPARE(outcome.exitCode, 0);
        const QJsonArray findings = outcome.json().value("findings").toArray();
        QCOMPARE(findings.size(), 1);
        QCOMPARE(findings.at(0).toObject(),
                 (QJsonObject{{"name", "category-unshown"},
                              {"severity", "error"},
                              {"line", 4},
                              {"item", 1},
                              {"text",
                               "no filter lets the category \"mac\" through; it needs "
                               "\"mac\" and \"pelorin\""}}));
    }

    void jsonListsAllFindings() {
        const Outcome outcome = check({"--json", "-"}, feed(QByteArray("<item/>\n").repeated(50)));
        QCOMPARE(outcome.json().value("findings").toArray().size(), 50 * 5);
    }

    void anUnreadableDateIsSpelledForTheReader_data() {
        QTest::addColumn<QByteArray>("language");
        QTest::addColumn<QByteArray>("written");
        QTest::addColumn<QString>("advice");
        const auto row = [](const char *language, const char *written, const char *advice) {
            QTest::newRow(written)
                << QByteArray(language) << QByteArray(written) << QString::fromUtf8(advice);
        };
        row("en", "2015-03-02", "Mon, 02 Mar 2015 00:00:00 GMT");
        row("en", "2015-03-02T10:00:00+01:00", "Mon, 02 Mar 2015 09:00:00 GMT");
        row("en", "Mon, 2 Mar 2015 10:00:00 GMT", "Mon, 02 Mar 2015 10:00:00 GMT");
        row("en", "Mon, 02 Mar 2015 10:00 +0100", "Mon, 02 Mar 2015 09:00:00 GMT");
        row("en", "02 Mar 2015 10:00:00 GMT", "Mon, 02 Mar 2015 10:00:00 GMT");
        row("en", "Monday, 2 March 2015 10:00:00 GMT", "Mon, 02 Mar 2015 10:00:00 GMT");
        row("en", "2 Mar 15 10:00:00 GMT", "Mon, 02 Mar 2015 10:00:00 GMT");
        row("en", "lundi 2 mars 2015", "Mon, 02 Mar 2015 00:00:00 GMT");
        row("en", "March 2, 2015 10:30:00 GMT", "Mon, 02 Mar 2015 10:30:00 GMT");
        row("en", "Mon, 2 Mar 2015 10:30 PM", "Mon, 02 Mar 2015 22:30:00 GMT");
        row("en", "2 Mar 2015 12:05 a.m. EST", "Mon, 02 Mar 2015 05:05:00 GMT");
        row("en", "Mon, 2 Mar 2015 10:00:00 CEST", "Mon, 02 Mar 2015 08:00:00 GMT");
        row("en", "2015-03-02 10:00:00 +0100", "Mon, 02 Mar 2015 09:00:00 GMT");
        row("en", "2015-03-02T10:00:00.123Z", "Mon, 02 Mar 2015 10:00:00 GMT");
        row("en", "Mon Mar 02 2015 10:00:00 GMT+0100 (Central European Standard Time)",
            "Mon, 02 Mar 2015 09:00:00 GMT");
        row("en", "Mon Mar  2 10:00:00 2015", "Mon, 02 Mar 2015 10:00:00 GMT");
        row("en", "Monday, 02-Mar-15 10:00:00 GMT", "Mon, 02 Mar 2015 10:00:00 GMT");
        row("en", "Mon,02 Mar 2015 10:00:00 GMT", "Mon, 02 Mar 2015 10:00:00 GMT");
        row("en", "lunes, 2 de marzo de 2015", "Mon, 02 Mar 2015 00:00:00 GMT");
        row("en", "2015年3月2日 10:00", "Mon, 02 Mar 2015 10:00:00 GMT");
        for (const char *const unclear :
             {"Mon, 2 Mar 2015 25:10:00 GMT", "Mon, 2 Mar 2015 10:61:00 GMT",
              "Mon, 2 Mar 2015 10:00:00 XYZ", "Mon, 2 Mar 2015 10:00:00 +9900",
              "Mon, 2 Mar 2015 13:00 PM", "Mon, 2 Mar 2015 at noon", "03/02/2015", "02-03-15",
              "Mon, 32 Mar 2015 10:00:00 GMT", "soon", ""})
            row("en", unclear, "dates look like \"Mon, 02 Mar 2015 10:00:00 GMT");
        row("en", "the day before", "dates look like \"Mon, 02 Mar 2015 10:00:00 GMT");
        row("de", "Mon, 02 Mar 2015 10:00:00 GMT", "Mo., 02 Mär 2015 10:00:00 GMT");
        row("fr", "Mon, 02 Feb 2015 10:00:00 GMT", "lun., 02 févr. 2015 10:00:00 UTC");
        row("ja", "2015-03-02T10:00:00Z", "月, 02 3月 2015 10:00:00 GMT");
    }
    void anUnreadableDateIsSpelledForTheReader() {
        QFETCH(const QByteArray, language);
        QFETCH(const QByteArray, written);
        QFETCH(const QString, advice);
        const auto withDate = [&](const QByteArray &date) {
            return feed(item("a").replace(daysAgo(1), date),
                        "<language>" + language + "</language>");
        };
        const Outcome outcome = check({"--json", "-"}, withDate(written));
        QCOMPARE(namesIn(outcome), QStringList{"3 date-unreadable"});
        const QString text = outcome.json().value("findings").toArray().at(0)["text"].toString();
        QVERIFY2(text.contains(advice + u'"'), qPrintable(text));
        if (!advice.contains(u'"'))
            QCOMPARE(namesIn(check({"--json", "-"}, withDate(advice.toUtf8()))), QStringList());
    }

    void aDateAsItsLanguageSpellsItIsRight_data() {
        QTest::addColumn<QByteArray>("language");
        for (const char *const language :
             {"en", "de",    "fr",    "es", "it", "pt-BR", "nl",    "pl",      "cs",
              "ru", "ja",    "ko",    "ar", "da", "fi",    "bg",    "ro",      "hi",
              "sv", "tr",    "uk",    "fa", "th", "he",    "el",    "hu",      "vi",
              "pt", "zh-CN", "zh-TW", "nb", "ca", "sr-RS", "en-GB", "sr-Latn", "ar-SA"})
            QTest::newRow(language) << QByteArray(language);
    }
    void aDateAsItsLanguageSpellsItIsRight() {
        QFETCH(const QByteArray, language);
        QByteArray items;
        for (int month = 1; month <= 12; ++month) {
            const QDateTime date(QDate(2015, month, month), QTime(10, 0), Qt::UTC);
            const QString spelled =
                FeedTemplate::publicationDate(date, QString::fromLatin1(language));
            items.prepend(item(QByteArray::number(month)).replace(daysAgo(1), spelled.toUtf8()));
        }
        const QByteArray whole = feed(items, "<language>" + language + "</language>");
        for (const char *const environment :
             {"LC_ALL=en_US.UTF-8", "LC_ALL=ar_SA.UTF-8", "LC_ALL=C"}) {
            const Outcome outcome = check({"--strict", "--json", "-"}, whole, environment);
            QVERIFY2(namesIn(outcome).isEmpty(), outcome.output.constData());
            QCOMPARE(outcome.exitCode, 0);
        }
    }

    void anExplanationIsThatOfTheGuide() {
        const Outcome outcome = check({"--explain", "link-unread"});
        QCOMPARE(outcome.exitCode, 0);
        QVERIFY2(outcome.output.startsWith("The item's <link> is ignored"),
                 outcome.output.constData());
        QVERIFY(outcome.output.endsWith(".\n") && !outcome.output.contains('`'));
        const QStringList possible = possibleNames();
        for (const QString &name : possible) {
            const Outcome each = check({"--explain", name});
            QCOMPARE(each.exitCode, 0);
            QVERIFY2(each.output.size() > 20 && !each.output.contains("###") &&
                         !each.output.contains("]("),
                     each.output.constData());
        }
        for (const char *const name : {"", "date", "link-unread\n", "### link-unread"}) {
            const Outcome none = check({"--explain", QString::fromLatin1(name)});
            QCOMPARE(none.exitCode, 2);
            QVERIFY(none.errors.contains("--list-findings"));
        }
    }

    void aYearOfTwoDigitsIsSpelledInFull() {
        const Outcome outcome = check({"-"}, dated("Thu, 29 Feb 96 10:00:00 GMT"));
        QVERIFY2(outcome.report().contains("write \"Thu, 29 Feb 1996 10:00:00 GMT\""),
                 outcome.output.constData());
    }

    void anUnknownLanguageIsCorrected_data() {
        QTest::addColumn<QByteArray>("written");
        QTest::addColumn<QString>("advice");
        QTest::newRow("case") << QByteArray("EN-us") << "\"en-US\"";
        QTest::newRow("underscore") << QByteArray("pt_BR") << "\"pt-BR\"";
        QTest::newRow("English name") << QByteArray("German") << "\"de\"";
        QTest::newRow("own name") << QByteArray("Deutsch") << "\"de\"";
        QTest::newRow("nonsense") << QByteArray("qqqq") << "a language code";
    }
    void anUnknownLanguageIsCorrected() {
        QFETCH(const QByteArray, written);
        QFETCH(const QString, advice);
        const Outcome outcome =
            check({"-"}, feed(item("a"), "<language>" + written + "</language>"));
        QVERIFY2(outcome.report().contains(QStringLiteral("write ") + advice),
                 outcome.output.constData());
    }
};

PELORIN_CORE_TEST_MAIN(FeedCheckFindingsTest)
#include "FeedCheckFindingsTest.moc"
