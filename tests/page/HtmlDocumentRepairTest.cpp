// Corrections of the sizes and images that a text document has read from HTML.

#include "TestMain.h"
#include "page/HtmlDocumentRepair.h"

#include <QGuiApplication>
#include <QPalette>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>

using namespace pelorinnews;

class HtmlDocumentRepairTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void textHasTheSizeOfABrowser_data();
    void textHasTheSizeOfABrowser();
    void keepsTextAndOtherFormats();
    void aPicturesLineIsAsHighAsThePicture();
    void linksAreBlueInADarkDesktop_data();
    void linksAreBlueInADarkDesktop();
    void anEmptyDocumentStaysEmpty();
};

namespace {

constexpr auto redDot =
    "data:image/png;base64,iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR4nGP4z8"
    "DwHwAFAAH/iZk9HQAAAABJRU5ErkJggg==";

QTextCharFormat formatOf(const QTextDocument &document, const QString &text) {
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (auto each = block.begin(); !each.atEnd(); ++each) {
            if (each.fragment().text().contains(text))
                return each.fragment().charFormat();
        }
    }
    return {};
}

}  // namespace

void HtmlDocumentRepairTest::textHasTheSizeOfABrowser_data() {
    QTest::addColumn<QString>("html");
    QTest::addColumn<int>("pixels");
    const auto row = [](const char *name, const char *html, int pixels) {
        QTest::newRow(name) << QString::fromLatin1(html) << pixels;
    };
    row("a heading's own size", "<style>h1 {font-size:20px}</style><h1>X</h1><p>text</p>", 20);
    row("beside the page's",
        "<style>body {font-size:13px} h1 {font-size:20px}</style><body><h1>X</h1><p>text</body>",
        20);
    row("of the element itself",
        "<p style='font-size:13px'>text</p><h2 style='font-size:15px'>X</h2>", 15);
    row("the page's size, enlarged", "<body style='font-size:13px'><h1>X</h1><p>text</p></body>",
        26);
    row("the page's size, by the level", "<body style='font-size:10px'><h3>X</h3><p>text</body>",
        12);
    row("larger text", "<p style='font-size:10px'>text <font size='5'>X</font></p>", 15);
    row("smaller text", "<p style='font-size:10px'>text <small>X</small></p>", 8);
    row("text without ado", "<p style='font-size:11px'>X</p>", 11);
}

void HtmlDocumentRepairTest::textHasTheSizeOfABrowser() {
    QFETCH(const QString, html);
    QFETCH(const int, pixels);
    QTextDocument document;
    document.setHtml(html);
    repairHtmlDocument(document);
    const QTextCharFormat format = formatOf(document, QStringLiteral("X"));
    QCOMPARE(format.intProperty(QTextFormat::FontPixelSize), pixels);
    QVERIFY(!format.hasProperty(QTextFormat::FontSizeAdjustment));
}

void HtmlDocumentRepairTest::keepsTextAndOtherFormats() {
    QTextDocument document;
    document.setHtml(QStringLiteral(
        "<style>h1 {font-size:20px; color:#010203}</style><h1>One <i>two</i></h1><p>Three"));
    const QString text = document.toPlainText();
    repairHtmlDocument(document);
    QCOMPARE(document.toPlainText(), text);
    const QTextCharFormat format = formatOf(document, QStringLiteral("two"));
    QVERIFY(format.fontItalic());
    QCOMPARE(format.foreground().color(), QColor(1, 2, 3));
    QCOMPARE(document.begin().blockFormat().headingLevel(), 1);
    // A heading whose HTML states no size keeps the larger size that the document gives to
    // headings.
    document.setHtml(QStringLiteral("<h1>X</h1>"));
    repairHtmlDocument(document);
    QCOMPARE(formatOf(document, QStringLiteral("X")).intProperty(QTextFormat::FontSizeAdjustment),
             3);
}

void HtmlDocumentRepairTest::aPicturesLineIsAsHighAsThePicture() {
    QTextDocument document;
    document.setHtml(
        QStringLiteral("<style>p {line-height:150%}</style><p><img src='%1' width='40' "
                       "height='100'></p><p>text</p>")
            .arg(QLatin1String(redDot)));
    QCOMPARE(document.begin().blockFormat().lineHeight(), 150.0);
    repairHtmlDocument(document);
    QCOMPARE(document.begin().blockFormat().lineHeightType(),
             static_cast<int>(QTextBlockFormat::SingleHeight));
    QCOMPARE(document.begin().next().blockFormat().lineHeight(), 150.0);
}

void HtmlDocumentRepairTest::linksAreBlueInADarkDesktop_data() {
    QTest::addColumn<QString>("html");
    QTest::addColumn<QColor>("color");
    const QColor blue(0x00, 0x00, 0xee);
    QTest::newRow("link") << "<a href='a'>X</a>" << blue;
    QTest::newRow("element in a link") << "<a href='a'>a <b>X</b></a>" << blue;
    QTest::newRow("heading in a link")
        << "<p style='font-size:9px'>a<h1><a href='a'>X</a></h1>" << blue;
    QTest::newRow("link of a colour")
        << "<a href='a' style='color:#ff0000'>X</a>" << QColor(Qt::red);
    QTest::newRow("no link") << "<a name='a'>X</a>" << QColor(Qt::black);
}

void HtmlDocumentRepairTest::linksAreBlueInADarkDesktop() {
    QFETCH(const QString, html);
    QFETCH(const QColor, color);
    const QPalette before = QGuiApplication::palette();
    QPalette dark = before;
    dark.setColor(QPalette::Link, QColor(0x99, 0xcc, 0xff));
    QGuiApplication::setPalette(dark);
    QTextDocument document;
    document.setHtml(html);
    repairHtmlDocument(document);
    QGuiApplication::setPalette(before);
    QCOMPARE(formatOf(document, QStringLiteral("X")).foreground().color(), color);
}

void HtmlDocumentRepairTest::anEmptyDocumentStaysEmpty() {
    QTextDocument document;
    repairHtmlDocument(document);
    QVERIFY(document.isEmpty());
}

PELORIN_GUI_TEST_MAIN(HtmlDocumentRepairTest)
#include "HtmlDocumentRepairTest.moc"
