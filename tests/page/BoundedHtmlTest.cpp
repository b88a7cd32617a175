#include "TestMain.h"
#include "page/BoundedHtml.h"

#include <QRegularExpression>
#include <QTest>

namespace pelorinnews {

namespace {

const QString start = QStringLiteral("<p>The start</p>");

QString repeated(const char *text, int times) {
    return QString::fromUtf8(text).repeated(times);
}

// A page like an article: paragraphs with some emphasis and links.
QString article() {
    const QString paragraph = QStringLiteral(
        "<p>Lorem ipsum dolor sit amet, <b>consectetur</b> adipiscing <a href=\"http://h/a\">elit"
        "</a>, sed do eiusmod tempor incididunt ut labore et dolore magna aliqua.</p>");
    return paragraph.repeated(300'000 / paragraph.size());
}

QString preparedOf(const QString &html) {
    const std::optional<BoundedPage> page = BoundedHtml::prepared(html);
    return page ? page->html : QStringLiteral("(absent)");
}

/// The text of a prepared page, without its tags and their attributes.
QString textOf(QString html) {
    return html.remove(QRegularExpression(QStringLiteral("<[^>]*>")));
}

}  // namespace

class BoundedHtmlTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void writesOnePlainForm_data();
    void writesOnePlainForm();
    void writesStylesIntoElements_data();
    void writesStylesIntoElements();
    void leavesOutWhatIsBeyondBounds_data();
    void leavesOutWhatIsBeyondBounds();
    void countsItemsOfLists_data();
    void countsItemsOfLists();
    void keepsTheTextOfAnyPage_data();
    void keepsTheTextOfAnyPage();
    void refusesWhatADocumentCannotTakeIn_data();
    void refusesWhatADocumentCannotTakeIn();
    void limitsWhatCollectsInADocument_data();
    void limitsWhatCollectsInADocument();
    void keepsPicturesBesideThePage();
    void takesLongChangeLogsWhole_data();
    void takesLongChangeLogsWhole();
    void showsTheBeginningOfWhatIsTooMuch_data();
    void showsTheBeginningOfWhatIsTooMuch();
    void breaksEndlessWordsThatAreShown();
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
    row("a lone ampersand", "a & b &c d &#; &;", "a &amp; b &amp;c d &amp;#; &amp;;");
    row("character references", "&eacute;&#233;&#xe9;&lt;&#60;&#0;&#99999999;",
        "&eacute;\u00e9\u00e9&lt;&lt;\ufffd\ufffd");
    row("capitals", "<B ID=x>a</B>", "<b>a</b>");
    row("quotes", "<a title='x>\"y'>a</a>", "<a title=\"x>&quot;y\">a</a>");
    row("space around an address", "<a href=' b c\n'>a</a>", "<a href=\"b c\">a</a>");
    row("the same attribute twice", "<a href=b href=c>a</a>", "<a href=\"b\">a</a>");
    row("colour without its sign", "<font color=00ff00>a</font>",
        "<font color=\"#00ff00\">a</font>");
    row("attributes that say nothing", "<p onclick=x data-y class=z role=note>a</p>", "<p>a</p>");
    row("comment", "a<!-- <b> -->b", "ab");
    row("unfinished comment", "a<!-- b", "a");
    row("document type", "<!DOCTYPE html><p>a</p>", "<p>a</p>");
    row("unfinished tag", "a<b title=\"c", "a");
    row("end tag that closes nothing", "a</b>c", "ac");
    row("crossed tags", "<b><i>a</b>c</i>", "<b><i>a</i></b>c");
    row("unknown elements", "<x>a<section>b</section></x><o:p>c</o:p>", "a<div>b</div>c");
    row("paragraphs left open", "<p>a<p>b", "<p>a</p><p>b");
    row("cells left open", "<table><tr><td>a<td>b<tr><td>c</table>",
        "<table><tr><td>a</td><td>b</td></tr><tr><td>c</td></tr></table>");
    row("elements left open in cells", "<table><tr><td><b>a<td>b<tr><td>c</table>d",
        "<table><tr><td><b>a</b></td><td>b</td></tr><tr><td>c</td></tr></table>d");
    row("cells without a row", "<table><td>a</table>", "<table><tr><td>a</td></tr></table>");
    row("text beside cells", "<table> <caption>a</caption><tr><td>b</table>",
        "<table><tr><td>a</td></tr><tr><td>b</td></tr></table>");
    row("a form around rows", "<table><form><tr><td>b</form></table>c",
        "<table><tr><td>b</td></tr></table>c");
    row("a table beside cells", "<table><tr><td>a</td><table><tr><td>b</table>c",
        "<table><tr><td>a</td></tr></table><table><tr><td>b</td></tr></table>c");
    row("a table in a form beside cells", "<table><form><table><td>a<p>b</table>c",
        "<table></table><table><tr><td>a<p>b</p></td></tr></table>c");
    row("a hidden table beside cells", "<table><tr><td>a</td><table hidden><td>b</table>c",
        "<table><tr><td>a</td></tr></table>c");
    row("a table in something hidden beside cells",
        "<table><tr><div hidden><table><td>a</table></div><td>b</table>c",
        "<table><tr><td>b</td></tr></table>c");
    row("cells without a table", "<td>a</td><tr>b", "<div>a</div>b");
    row("script", "a<script>\"</p><b>\"; 1 < 2</script>b", "ab");
    row("script with a similar end", "a<script></scripts>b</script>c", "ac");
    row("unfinished script", "a<script>b", "a");
    row("title", "<title>a</title>b", "b");
    row("frame", "<iframe>a</iframe>b", "b");
    row("elements that show nothing", "<meta charset=utf-8><link href=x><input>a", "a");
    row("line break", "a<br/>b<wbr>c", "a<br>b\u200bc");
    row("hidden", "a<div hidden>b<div>c</div>d</div>e", "ae");
    row("not displayed", "a<div style=\"Display : NONE\">b<div>c</div></div>e", "ae");
    row("hidden in a table", "<table><tr hidden><td>a</td></tr><tr><td>b</table>",
        "<table><tr><td>b</td></tr></table>");
    row("hidden picture", "a<img hidden>b", "ab");
    row("picture that is not shown", "<h2>a</h2><img alt='X &amp; <Y>' src=x>",
        "<h2>a</h2>X &amp; &lt;Y&gt;");
    row("picture after text", "a<img src='data:image/png,x'>b", "a<img src=\"picture-0\">b");
    row("picture after a block",
        "<h2>a</h2> <a href=b><img src='data:image/png,x' alt=c></a>d<p>e</p>",
        "<h2>a</h2> <a href=\"b\"><div><img src=\"picture-0\" alt=\"c\"></div></a>d<p>e</p>");
    row("picture and text after a block", "<p>a</p><img src='data:image/png,x'>b<p>c",
        "<p>a</p><div><img src=\"picture-0\">b</div><p>c");
    row("picture after a rule", "<hr><img src='data:image/png,x'>",
        "<hr><div><img src=\"picture-0\">");
    row("picture after a table", "<table><tr><td>a</table><img src='data:image/png,x'>",
        "<table><tr><td>a</td></tr></table><img src=\"picture-0\">");
    row("direction", "<p>a</p><blockquote dir=rtl><p>b</p></blockquote><p>c</p>",
        "<p>a</p><blockquote dir=\"rtl\"><p dir=\"rtl\">b</p></blockquote><p dir=\"ltr\">c</p>");
    row("items of lists", "<ul><li>a<li>b</ul>",
        "<ul><div style=\"margin-top:12px;-qt-user-state:0\">a</div>"
        "<div style=\"-qt-user-state:1\">b</div></ul>");
    row("items without a list", "<li>a<li>b", "<div>a</div><div>b");
}

void BoundedHtmlTest::writesOnePlainForm() {
    QFETCH(QString, html);
    const std::optional<BoundedPage> page = BoundedHtml::prepared(html);
    QVERIFY(page.has_value());
    QTEST(page->html, "prepared");
}

void BoundedHtmlTest::writesStylesIntoElements_data() {
    QTest::addColumn<QString>("sheet");
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("prepared");
    const auto row = [](const char *name, const char *sheet, const char *html,
                        const char *prepared) {
        QTest::newRow(name) << QString::fromUtf8(sheet) << QString::fromUtf8(html)
                            << QString::fromUtf8(prepared);
    };
    const char *plain = "<p>a</p>";
    const char *red = "<p style=\"color:red\">a</p>";
    row("element", "p{color:red}", "<p>a</p>", red);
    row("class", ".x{color:red}", "<p class='y x'>a</p>", red);
    row("id", "#x{color:red}", "<p id=x>a</p>", red);
    row("all of them", "p.x.y#z{color:red}", "<p id=z class='x y'>a</p>", red);
    row("any element", "*{color:red}", "<p>a</p>", red);
    row("another class", "p.x{color:red}", "<p class=y>a</p>", plain);
    row("inside", "div p{color:red}", "<div><b><p>a</p></b></div>",
        "<div><b><p style=\"color:red\">a</p></b></div>");
    row("not inside", "div p{color:red}", "<p>a</p>", plain);
    row("child", "div>p{color:red}", "<div><p>a</p></div>",
        "<div><p style=\"color:red\">a</p></div>");
    row("not a child", "div > p{color:red}", "<div><b><p>a</p></b></div>",
        "<div><b><p>a</p></b></div>");
    row("one of several", "h1,p , b{color:red}", "<p>a</p>", red);
    row("two rules", "p{color:red} p{font-weight:bold}", "<p>a</p>",
        "<p style=\"color:red;font-weight:bold\">a</p>");
    row("the later rule", "p{color:blue} p{color:red}", "<p>a</p>", red);
    row("the more particular rule", ".x{color:red} p{color:blue}", "<p class=x>a</p>", red);
    row("the element's own", "#x{color:blue}", "<p id=x style='color:red'>a</p>", red);
    row("important", "p{color:red !important} p{color:blue}", "<p style='color:green'>a</p>", red);
    row("four parts", "div div div p{color:red}", "<div><div><div><p>a</p></div></div></div>",
        "<div><div><div><p>a</p></div></div></div>");
    row("siblings", "h1+p,h1~p{color:red}", "<h1>b</h1><p>a</p>", "<h1>b</h1><p>a</p>");
    row("attributes and states", "p[title],p:hover,p::before{color:red}", "<p title=b>a</p>",
        "<p title=\"b\">a</p>");
    row("rules about media", "@media print{p{color:red}}", "<p>a</p>", plain);
    row("after an import", "@import url('x;y'); p{color:red}", "<p>a</p>", red);
    row("comments", "/*p{color:blue}*/p{/*x*/color:red}", "<p>a</p>", red);
    row("hidden from old browsers", "<!-- p{color:red} -->", "<p>a</p>", red);
    row("unfinished", "p{color:red", "<p>a</p>", red);
    row("hides", ".x{display:none}", "a<p class=x>b</p>", "a");
    row("direction", "p{direction:rtl}", "<p>a</p>", "<p dir=\"rtl\">a</p>");
}

void BoundedHtmlTest::writesStylesIntoElements() {
    QFETCH(QString, sheet);
    QFETCH(QString, html);
    QTEST(preparedOf(QStringLiteral("<style>%1</style>").arg(sheet) + html), "prepared");
}

void BoundedHtmlTest::leavesOutWhatIsBeyondBounds_data() {
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("prepared");
    const auto style = [](const char *name, const char *given, const char *kept) {
        const QString text = QString::fromUtf8(kept);
        QTest::newRow(name) << QStringLiteral("<p style=\"%1\">a</p>").arg(QString::fromUtf8(given))
                            << (text.isEmpty() ? QStringLiteral("<p>a</p>")
                                               : QStringLiteral("<p style=\"%1\">a</p>").arg(text));
    };
    style("unknown property", "behavior:url(x);-qt-block-indent:99;-qt-user-state:5", "");
    style("unknown value", "text-align:start;font-weight:heavy;color:url(x)", "");
    style("colours", "color:#FFF;background:url('a;b') RGB(1, 2, 3) no-repeat",
          "background-color:rgb(1, 2, 3);color:#fff");
    style("gradient", "background:qlineargradient(x1:0,y1:0,stop:0 red);color:palette(text)", "");
    style("lengths", "margin:1em 2px 3pt -5px",
          "margin-bottom:4px;margin-left:0px;"
          "margin-right:2px;margin-top:16px");
    style("huge lengths", "margin-top:1e30px;text-indent:-99999px;margin-left:99999px",
          "margin-left:200px;text-indent:-200px");
    style("no lengths", "margin-top:x;margin-bottom:nanpx;text-indent:5%;line-height:x", "");
    style("line heights", "line-height:1.5", "line-height:150%");
    style("huge line height", "line-height:9999%", "line-height:400%");
    style("font", "font:italic bold 12.4px/2 'A B', serif",
          "font-family:'A B', serif;font-size:12px;font-style:italic;font-weight:bold;"
          "line-height:200%");
    style("font sizes", "font-size:99999pt", "font-size:96pt");
    style("font of odd signs", "font-family:&quot;A;{}\\&quot;,&lt;b", "font-family:'A',b");
    style("decoration", "text-decoration:blink underline", "text-decoration:underline");
    const auto row = [](const char *name, const QString &html, const char *prepared) {
        QTest::newRow(name) << html << QString::fromUtf8(prepared);
    };
    row("spans", QStringLiteral("<table><td colspan=99999999999 rowspan=5000>"),
        "<table><tr><td colspan=\"100\" rowspan=\"100\">");
    row("sizes of a table",
        QStringLiteral("<table width=99999 border=99999 cellpadding=-3 cellspacing=9999 height=9>"),
        "<table width=\"2000\" border=\"20\" cellspacing=\"50\">");
    row("percent", QStringLiteral("<hr width=5000%>"), "<hr width=\"100%\">");
    row("sizes of text", QStringLiteral("<font size=+99 color=#zzz face='<>'>a</font>"),
        "<font size=\"+7\">a</font>");
    row("direction", QStringLiteral("<p dir=%1>a</p>").arg(QString(32'000, u'a')), "<p>a</p>");
    row("long address", QStringLiteral("<a href=%1>a</a>").arg(QString(5'000, u'a')), "<a>a</a>");
    row("long declaration",
        QStringLiteral("<p style='color:%1;x:y'>a</p>").arg(QString(5'000, u'a')), "<p>a</p>");
    row("sizes of a picture",
        QStringLiteral("<img src='data:image/png,x' width=1e9 height=-5 align=middle>"),
        "<img src=\"picture-0\">");
}

void BoundedHtmlTest::leavesOutWhatIsBeyondBounds() {
    QFETCH(QString, html);
    QTEST(preparedOf(html), "prepared");
}

void BoundedHtmlTest::countsItemsOfLists_data() {
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("markers");
    const auto row = [](const char *name, const char *html, const char *markers) {
        QTest::newRow(name) << QString::fromUtf8(html) << QString::fromUtf8(markers);
    };
    row("bullets", "<ul><li>a<li>b</ul>", "\u2022 \u2022");
    row("numbers", "<ol><li>a<li>b</ol>", "1. 2.");
    row("start", "<ol start=5><li>a<li>b</ol>", "5. 6.");
    row("start below zero", "<ol start=-1><li>a<li>b<li>c</ol>", "-1. 0. 1.");
    row("start that is none", "<ol start=x><li>a</ol>", "1.");
    row("start that is too large", "<ol start=99999999999999><li>a<li>b</ol>",
        "1000000000. 1000000001.");
    row("value", "<ol><li>a<li value=7>b<li>c</ol>", "1. 7. 8.");
    row("reversed", "<ol reversed><li>a<li>b<li>c</ol>", "3. 2. 1.");
    row("reversed, left open", "<ol reversed><li>a<li>b", "2. 1.");
    row("reversed from a start", "<ol reversed start=10><li>a<li>b</ol>", "10. 9.");
    row("reversed with a value", "<ol reversed><li>a<li value=9>b<li>c</ol>", "3. 9. 8.");
    row("small letters", "<ol type=a start=26><li>a<li>b</ol>", "z. aa.");
    row("capital letters", "<ol type=A><li>a<li>b</ol>", "A. B.");
    row("letters for zero", "<ol type=a start=0><li>a<li>b</ol>", "0. a.");
    row("small Roman numerals", "<ol type=i start=4><li>a<li>b</ol>", "iv. v.");
    row("capital Roman numerals", "<ol type=I start=1999><li>a</ol>", "MCMXCIX.");
    row("Roman numerals that do not exist", "<ol type=i start=4000><li>a</ol>", "4000.");
    row("kind of one item", "<ol><li>a<li type=a>b<li>c</ol>", "1. b. 3.");
    row("kinds of bullets", "<ul type=square><li>a<li type=circle>b</ul>", "\u25AA \u25E6");
    row("kind from a style", "<style>ol{list-style:lower-roman inside}</style><ol><li>a</ol>",
        "i.");
    row("no bullets", "<ul style='list-style-type:none'><li>a</ul>", "");
    row("lists in each other", "<ol><li>a<ol type=a><li>b<li>c</ol><li>d</ol>", "1. a. b. 2.");
    row("two lists", "<ol><li>a</ol><ol><li>b</ol>", "1. 1.");
    row("paragraphs in items", "<ol><li><p>a<p>b<li><p>c</ol>", "1. 2.");
    row("in a cell", "<ol><li>a<table><tr><td><ol><li>b</ol></table><li>c</ol>", "1. 1. 2.");
    row("hidden items", "<ol><li>a<li hidden>b<li>c</ol>", "1. 2.");
}

void BoundedHtmlTest::countsItemsOfLists() {
    QFETCH(QString, html);
    const std::optional<BoundedPage> page = BoundedHtml::prepared(html);
    QVERIFY(page.has_value());
    QStringList markers;
    for (const PageListItem &item : page->items)
        markers << markerText(item);
    QTEST(markers.join(QLatin1Char(' ')), "markers");
}

void BoundedHtmlTest::keepsTheTextOfAnyPage_data() {
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *name, const QString &html, const QString &text) {
        QTest::newRow(name) << html << text;
    };
    const QString a = QStringLiteral("a");
    row("1,000 deep", repeated("<div>", 1000) + a, a);
    row("100,000 deep", repeated("<div>a", 20'000), repeated("a", 20'000));
    row("deep and closed", repeated("<b>", 10'000) + repeated("</b>", 10'000) + a, a);
    row("ends in comments", repeated("<div><!--</div>-->", 1000) + a, a);
    row("lists in each other", repeated("<ul><li>a", 1000), repeated("a", 1000));
    row("quotations in each other", repeated("<blockquote>a", 1000), repeated("a", 1000));
    row("tables in each other", repeated("<table><tr><td>a", 1000), repeated("a", 1000));
    row("many tables", repeated("<table><tr><td>a</table>", 3000), repeated("a", 3000));
    row(
        "many fonts",
        [] {
            QString html;
            for (int each = 0; each < 1'000; ++each)
                html += QStringLiteral("<font face=f%1>a</font>").arg(each);
            return html;
        }(),
        repeated("a", 1'000));
    row("many pictures in a paragraph", repeated("<img src='data:image/png,x' alt=a>", 2'000),
        repeated("a", 1'950));
    row("many directions", repeated("\u2066a\u2069", 1'000),
        repeated("\u2066a\u2069", 50) + repeated("a", 950));
    row("a NUL", QStringLiteral("a") + QChar(0) + QStringLiteral("b"), QStringLiteral("ab"));
    row("half a character", QStringLiteral("a") + QChar(0xd83d), QStringLiteral("a\ufffd"));
}

void BoundedHtmlTest::keepsTheTextOfAnyPage() {
    QFETCH(QString, html);
    QFETCH(QString, text);
    const std::optional<BoundedPage> page = BoundedHtml::prepared(html);
    QVERIFY(page.has_value());
    QCOMPARE(textOf(page->html), text);
}

void BoundedHtmlTest::refusesWhatADocumentCannotTakeIn_data() {
    QTest::addColumn<QString>("html");
    QTest::addColumn<bool>("taken");
    QTest::newRow("absent") << QString() << false;
    QTest::newRow("an ordinary article of 300 KB") << article() << true;
    QTest::newRow("ten million characters") << QString(10'000'000, u'a') << false;
    QTest::newRow("ten million characters, hidden")
        << QStringLiteral("a<script>") + QString(10'000'000, u'a') << true;
    QTest::newRow("10,000 paragraphs left open") << repeated("<p>a", 10'000) << true;
    QTest::newRow("20,000 elements") << repeated("<p>a</p>", 20'000) << true;
    QTest::newRow("300,000 elements") << repeated("<p>a</p>", 300'000) << false;
    QTest::newRow("300,000 end tags that end nothing") << repeated("</b>", 300'000) << false;
    QTest::newRow("ten million characters in one tag")
        << QStringLiteral("<p ") + repeated("a ", 5'000'000) + QStringLiteral(">b") << true;
    QTest::newRow("ten million signs, hidden")
        << QStringLiteral("<p hidden>") + repeated("<", 10'000'000) << false;
    QTest::newRow("four million comments") << repeated("<!>", 4'000'000) << false;
    QTest::newRow("1,000 pictures in as many paragraphs")
        << repeated("<p><img src='data:image/png,x'>", 1'000) << true;
    QTest::newRow("100 by 100 cells")
        << QStringLiteral("<table>") +
               (QStringLiteral("<tr>") + repeated("<td>a", 100)).repeated(100)
        << true;
    QTest::newRow("one long row and one long column")
        << QStringLiteral("<table><tr>") + repeated("<td>a", 2500) + repeated("<tr><td>b", 2500)
        << false;
    QTest::newRow("spans both ways")
        << QStringLiteral("<table>") +
               repeated("<tr><td colspan=1000 rowspan=1000>a</td></tr>", 500)
        << false;
    QTest::newRow("a page's ordinary style sheet")
        << QStringLiteral("<style>") + repeated("p b{color:red} ", 100) +
               QStringLiteral("</style>") + repeated("<p><b>a</b></p>", 1000)
        << true;
}

void BoundedHtmlTest::refusesWhatADocumentCannotTakeIn() {
    QFETCH(QString, html);
    QFETCH(bool, taken);
    QCOMPARE(BoundedHtml::prepared(html).has_value(), taken);
}

void BoundedHtmlTest::limitsWhatCollectsInADocument_data() {
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("piece");
    QTest::addColumn<int>("max");
    const auto row = [](const char *name, const QString &html, const char *piece, int max) {
        QTest::newRow(name) << html << QString::fromLatin1(piece) << max;
    };
    const auto numbered = [](int count, const char *format) {
        QString html;
        for (int each = 0; each < count; ++each)
            html += QString::fromLatin1(format).arg(each, 6, 10, QLatin1Char('0'));
        return html;
    };
    row("elements in each other", repeated("<div>", 1'000), "<div>", 64);
    row("tables in each other", repeated("<table><tr><td>", 100), "<table", 5);
    row("tables", repeated("<table><tr><td>a</table>", 3'000), "<table", 500);
    row("lists that move text in", repeated("<ul><li>", 100), "<ul", 6);
    row("quotations that move text in", repeated("<blockquote>", 100), "<blockquote", 3);
    row("margins that move text in", repeated("<div style='margin-left:100px'>", 100),
        "margin-left", 2);
    row("colours", numbered(5'000, "<span style='color:#%1'>a</span>"), "<span", 1'000);
    row("colours of the element", numbered(5'000, "<font color=#%1>a</font>"), "<font", 1'000);
    row("fonts", numbered(5'000, "<font face=f%1>a</font>"), "<font", 48);
    row("fonts in styles", numbered(5'000, "<p style='font-family:f%1'>a</p>"), "font-family", 48);
    row("rules",
        numbered(1'000, "<style>.c%1{color:red}</style>") + numbered(1'000, "<p class=c%1>a</p>"),
        "color:red", 200);
    row("pictures", repeated("<p><img src='data:image/png,x'>", 3'000), "<img", 1'000);
    row("pictures in a paragraph", repeated("<img src='data:image/png,x'>", 3'000), "<img", 50);
    row("floating pictures", repeated("<p><img align=left src='data:image/png,x'>", 500),
        "float:left", 50);
    row("floating tables", repeated("<table align=right><tr><td>a</table>", 400), "align", 50);
}

void BoundedHtmlTest::limitsWhatCollectsInADocument() {
    QFETCH(QString, html);
    QFETCH(QString, piece);
    QFETCH(int, max);
    const QString shown = BoundedHtml::beginning(html).html;
    QCOMPARE(shown.count(piece), max);
}

void BoundedHtmlTest::keepsPicturesBesideThePage() {
    const QString html = QStringLiteral(
        "<img src=' DATA:image/png;base64,a+b/='><img src='data:image/gif,%41&amp;b'>"
        "<img src='DATA:image/png;base64,a+b/='>");
    const std::optional<BoundedPage> page = BoundedHtml::prepared(html);
    QVERIFY(page.has_value());
    QCOMPARE(page->html, QStringLiteral("<img src=\"picture-0\"><img src=\"picture-1\">"
                                        "<img src=\"picture-0\">"));
    QCOMPARE(page->pictures, (QStringList{QStringLiteral("DATA:image/png;base64,a+b/="),
                                          QStringLiteral("data:image/gif,%41&b")}));
    QCOMPARE(page->pictureAddress(QStringLiteral("picture-1")), page->pictures.at(1));
    for (const char *none : {"", "picture-", "picture-2", "picture--1", "picture-x", "1"})
        QVERIFY2(page->pictureAddress(QLatin1String(none)).isEmpty(), none);
}

void BoundedHtmlTest::takesLongChangeLogsWhole_data() {
    QTest::addColumn<QString>("html");
    QTest::newRow("items") << QStringLiteral("<ul>") + repeated("<li>item</li>", 10'000) +
                                  QStringLiteral("</ul>");
    QTest::newRow("versions with items")
        << (QStringLiteral("<h2>Version</h2><ul>") +
            repeated("<li>Fixed: something that users would notice, in several words, <b>now</b>"
                     "</li>",
                     40) +
            QStringLiteral("</ul>"))
               .repeated(60);
    QTest::newRow("paragraphs") << repeated(
        "<p>Lorem ipsum dolor sit amet, consectetur adipiscing elit, sed do eiusmod "
        "tempor incididunt ut labore et dolore magna aliqua.</p>",
        3'000);
    QTest::newRow("an ordinary article") << article();
}

void BoundedHtmlTest::takesLongChangeLogsWhole() {
    QFETCH(QString, html);
    const QString text = textOf(html);
    QCOMPARE(textOf(BoundedHtml::beginning(html).html), text);
    QCOMPARE(textOf(preparedOf(html)), text);
}

void BoundedHtmlTest::showsTheBeginningOfWhatIsTooMuch_data() {
    QTest::addColumn<QString>("html");
    QTest::addColumn<int>("max");
    const auto row = [](const char *name, const QString &html, int max) {
        QTest::newRow(name) << html << max;
    };
    row("a very long page", repeated("<p>some words of it</p>", 100'000), 1'000'000);
    row("a very long line", repeated("some words of it ", 1'000'000), 1'000'000);
    row("a very long word", repeated("a", 1'000'000), 1'000'000);
    row("a very long word, in pieces", repeated("<b>a</b>", 1'000'000), 500'000);
    row("many line breaks", repeated("a<br>", 1'000'000), 200'000);
    row("many marks on one letter", QStringLiteral("a") + QString(100'000, QChar(0x301)), 10'000);
    row("many letters with a mark", repeated("a\u0301", 1'000'000), 1'000'000);
    row("many lines", QStringLiteral("<pre>") + repeated("a\n", 1'000'000), 100'000);
    row("a table with many cells", QStringLiteral("<table>") + repeated("<tr><td>a<td>b", 10'000),
        150'000);
    row("tables in each other",
        (repeated("<table><tr><td>a<td>b", 5) + repeated("</table>", 5)).repeated(1'000), 50'000);
    row("text in tables in each other",
        repeated("<table><tr><td>", 5) + repeated("some words of it ", 10'000), 40'000);
    row("elements in tables in each other",
        repeated("<table><tr><td>", 5) + repeated("<b>a</b> ", 10'000), 20'000);
    row("a cell across everything",
        QStringLiteral("<table>") + repeated("<tr><td rowspan=99 colspan=99>a", 100), 100);
    row(
        "fonts of many scripts",
        [] {
            QString html;
            for (int size = 10; size < 40; ++size)
                html += QStringLiteral("<span style='font-size:%1px'>\u0915 \u0995 \u0b95</span>")
                            .arg(size);
            return html;
        }(),
        1'500);
}

void BoundedHtmlTest::showsTheBeginningOfWhatIsTooMuch() {
    QFETCH(const QString, html);
    QFETCH(const int, max);
    const QString result = BoundedHtml::beginning(start + html).html;
    QVERIFY(result.startsWith(start));
    QVERIFY(result.endsWith(QChar(0x2026)));
    QVERIFY2(result.size() < max, qPrintable(QString::number(result.size())));
}

void BoundedHtmlTest::breaksEndlessWordsThatAreShown() {
    const QString word = QString(500, u'a') + QStringLiteral("&eacute;");
    QCOMPARE(preparedOf(word), word);
    const QString a = QString(200, u'a');
    const QString breakHere(QChar(0x200b));
    QCOMPARE(BoundedHtml::beginning(word).html,
             a + breakHere + a + breakHere + QString(100, u'a') + QStringLiteral("&eacute;"));
    // A letter and its combining marks are not separated.
    const QString marked = a + QChar(0x301) + QStringLiteral("b");
    QCOMPARE(BoundedHtml::beginning(marked).html,
             a + QChar(0x301) + breakHere + QStringLiteral("b"));
    const QString words = (a + QLatin1Char(' ')).repeated(3);
    QCOMPARE(BoundedHtml::beginning(words).html, words);
}

}  // namespace pelorinnews

PELORIN_CORE_TEST_MAIN(pelorinnews::BoundedHtmlTest)
#include "BoundedHtmlTest.moc"
