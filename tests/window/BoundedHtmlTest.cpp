#include "BoundedHtml.h"
#include "TestMain.h"

#include <QTest>

namespace pelorinnews {

namespace {

// As articles are: paragraphs with some emphasis and links.
QString article() {
    const QString paragraph = QStringLiteral(
        "<p>Lorem ipsum dolor sit amet, <b>consectetur</b> adipiscing <a href=\"http://h/a\">elit"
        "</a>, sed do eiusmod tempor incididunt ut labore et dolore magna aliqua.</p>");
    return paragraph.repeated(300'000 / paragraph.size());
}

}  // namespace

class BoundedHtmlTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void writesOnePlainForm_data();
    void writesOnePlainForm();
    void refusesWhatADocumentCannotTakeIn_data();
    void refusesWhatADocumentCannotTakeIn();
    void showsAnOrdinaryArticleWhole();
    void showsTheBeginningOfWhatIsTooMuch_data();
    void showsTheBeginningOfWhatIsTooMuch();
};

void BoundedHtmlTest::writesOnePlainForm_data() {
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("prepared");
    const auto row = [](const char *name, const char *html, const char *prepared) {
        QTest::newRow(name) << QString::fromUtf8(html) << QString::fromUtf8(prepared);
    };
    row("nothing", "", "");
    row("text", "a &amp; b", "a &amp; b");
    row("a lone sign", "1 < 2 <", "1 &lt; 2 &lt;");
    row("capitals", "<B CLASS=x>a</B>", "<b class=\"x\">a</b>");
    row("quotes", "<a title='x>\"y'>a</a>", "<a title=\"x>&quot;y\">a</a>");
    row("space around an address", "<a href=' b c\n'>a</a>", "<a href=\"b c\">a</a>");
    row("attribute without value", "<td nowrap>a</td>", "<td nowrap=\"\">a</td>");
    row("comment", "a<!-- <b> -->b", "ab");
    row("unfinished comment", "a<!-- b", "a");
    row("document type", "<!DOCTYPE html><p>a</p>", "<p>a</p>");
    row("unfinished tag", "a<b title=\"c", "a");
    row("end tag that closes nothing", "a</b>c", "ac");
    row("crossed tags", "<b><i>a</b>c</i>", "<b><i>a</i></b>c");
    row("paragraphs left open", "<p>a<p>b", "<p>a</p><p>b");
    row("items left open", "<ul><li>a<li>b</ul>", "<ul><li>a</li><li>b</li></ul>");
    row("cells left open", "<table><tr><td>a<td>b<tr><td>c</table>",
        "<table><tr><td>a</td><td>b</td></tr><tr><td>c</td></tr></table>");
    row("script", "a<script>\"</p><b>\"; 1 < 2</script>b", "ab");
    row("unfinished script", "a<script>b", "a");
    row("title", "<title>a</title>b", "b");
    row("frame", "<iframe>a</iframe>b", "b");
    row("style", "<style>p{color:red}</style>a", "<style>p{color:red}</style>a");
    row("elements that show nothing", "<meta charset=utf-8><link href=x><input>a", "a");
    row("line break", "a<br/>b<wbr>c", "a<br>b&#8203;c");
    row("hidden", "a<div hidden>b<div>c</div>d</div>e", "ae");
    row("not displayed", "a<div style=\"Display : NONE\">b<div>c</div></div>e", "ae");
    row("hidden picture", "a<img hidden>b", "ab");
    row("spans", "<td colspan=99999999999 rowspan=5000>", "<td colspan=\"1\" rowspan=\"1000\">");
    row("direction", "<p>a</p><ul dir=rtl><li>b</li></ul><p>c</p>",
        "<p>a</p><ul dir=\"rtl\"><li dir=\"rtl\">b</li></ul><p dir=\"ltr\">c</p>");
}

void BoundedHtmlTest::writesOnePlainForm() {
    QFETCH(QString, html);
    QFETCH(QString, prepared);
    const std::optional<QString> result = BoundedHtml::prepared(html);
    QVERIFY(result.has_value());
    QVERIFY(!result->isNull());
    QCOMPARE(*result, prepared);
}

void BoundedHtmlTest::refusesWhatADocumentCannotTakeIn_data() {
    QTest::addColumn<QString>("html");
    QTest::addColumn<bool>("taken");
    const auto repeated = [](const char *text, int times) {
        return QString::fromLatin1(text).repeated(times);
    };
    QTest::newRow("absent") << QString() << false;
    QTest::newRow("an ordinary article of 300 KB") << article() << true;
    QTest::newRow("ten million characters") << QString(10'000'000, u'a') << false;
    QTest::newRow("ten million characters, hidden")
        << QStringLiteral("a<script>") + QString(10'000'000, u'a') << true;
    QTest::newRow("a NUL in it") << (QStringLiteral("a") + QChar(0) + QStringLiteral("b")) << true;
    QTest::newRow("1,000 deep") << repeated("<div>", 1000) << true;
    QTest::newRow("10,000 deep") << repeated("<div>", 10000) << false;
    QTest::newRow("10,000 deep, ends in comments")
        << repeated("<div><!--</div>-->", 10000) << false;
    QTest::newRow("10,000 deep, ends in attributes")
        << repeated("<div title=\"</div>\">", 10000) << false;
    QTest::newRow("10,000 lists in each other") << repeated("<ul><li>", 10000) << false;
    QTest::newRow("10,000 tables in each other") << repeated("<table><tr><td>", 10000) << false;
    QTest::newRow("10,000 paragraphs left open") << repeated("<p>a", 10000) << true;
    QTest::newRow("30,000 elements") << repeated("<p>a</p>", 30000) << true;
    QTest::newRow("300,000 elements") << repeated("<p>a</p>", 300000) << false;
    QTest::newRow("1,000 pictures in a paragraph") << repeated("<img src=x> ", 1000) << true;
    QTest::newRow("10,000 pictures in a paragraph") << repeated("<img src=x> ", 10000) << false;
    QTest::newRow("10,000 pictures in as many") << repeated("<p><img src=x>", 10000) << true;
    QTest::newRow("100 by 100 cells")
        << QStringLiteral("<table>") +
               (QStringLiteral("<tr>") + repeated("<td>a", 100)).repeated(100)
        << true;
    QTest::newRow("one long row and one long column")
        << QStringLiteral("<table><tr>") + repeated("<td>a", 2500) + repeated("<tr><td>b", 2500)
        << false;
    QTest::newRow("spans both ways")
        << QStringLiteral("<table>") +
               repeated("<tr><td colspan=1000 rowspan=1000>a</td></tr>", 100)
        << false;
    QTest::newRow("many rules and many elements")
        << QStringLiteral("<style>") + repeated("p b{color:red} ", 5000) +
               QStringLiteral("</style>") + repeated("<p><b>a</b></p>", 5000)
        << false;
    QTest::newRow("a page's ordinary style sheet")
        << QStringLiteral("<style>") + repeated("p b{color:red} ", 100) +
               QStringLiteral("</style>") + repeated("<p><b>a</b></p>", 1000)
        << true;
}

void BoundedHtmlTest::refusesWhatADocumentCannotTakeIn() {
    QFETCH(QString, html);
    QFETCH(bool, taken);
    const std::optional<QString> result = BoundedHtml::prepared(html);
    QCOMPARE(result.has_value(), taken);
    if (result)
        QVERIFY(!result->contains(QChar(0)));
}

void BoundedHtmlTest::showsAnOrdinaryArticleWhole() {
    QCOMPARE(BoundedHtml::beginning(article()), article());
    QCOMPARE(BoundedHtml::beginning(QString()), QString());
}

void BoundedHtmlTest::showsTheBeginningOfWhatIsTooMuch_data() {
    QTest::addColumn<QString>("html");
    QTest::addColumn<int>("most");
    const auto row = [](const char *name, const QString &html, int most) {
        QTest::newRow(name) << html << most;
    };
    const auto repeated = [](const char *text, int times) {
        return QString::fromLatin1(text).repeated(times);
    };
    row("a very long page", repeated("<p>some words of it</p>", 100'000), 1'000'000);
    row("a very long line", repeated("some words of it ", 1'000'000), 1'000'000);
    row("a very long word", repeated("a", 1'000'000), 50'000);
    row("a very long word, in pieces", repeated("<b>a</b>", 1'000'000), 500'000);
    row("many line breaks", repeated("a<br>", 1'000'000), 200'000);
    row("many pictures", repeated("<img src=x> ", 100'000), 40'000);
    row("deep elements", repeated("<div>", 100'000), 50'000);
    row("30 tables in each other", repeated("<table><tr><td>a", 30), 300);
    row("a table with many cells", QStringLiteral("<table>") + repeated("<tr><td>a<td>b", 10'000),
        100'000);
    row("a cell across everything", QStringLiteral("<table><tr><td rowspan=999 colspan=999>a"), 40);
    row(
        "many fonts",
        [] {
            QString html;
            for (int each = 0; each < 10'000; ++each)
                html += QStringLiteral("<font face=f%1>a</font>").arg(each);
            return html;
        }(),
        100'000);
}

void BoundedHtmlTest::showsTheBeginningOfWhatIsTooMuch() {
    QFETCH(const QString, html);
    QFETCH(const int, most);
    const QString start = QStringLiteral("<p>The start</p>");
    const QString result = BoundedHtml::beginning(start + html);
    QVERIFY(result.startsWith(start));
    QVERIFY(result.endsWith(QChar(0x2026)));
    QVERIFY2(result.size() < most, qPrintable(QString::number(result.size())));
}

}  // namespace pelorinnews

PELORIN_CORE_TEST_MAIN(pelorinnews::BoundedHtmlTest)
#include "BoundedHtmlTest.moc"
