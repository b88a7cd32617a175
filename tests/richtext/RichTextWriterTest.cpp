#include "HostilePictures.h"
#include "RtfReader.h"
#include "TestMain.h"
#include "page/BoundedHtml.h"
#include "page/PagePictures.h"
#include "richtext/RichTextDocument.h"
#include "richtext/RichTextMimeData.h"
#include "richtext/RichTextWriter.h"
#include "richtext/RtfPicture.h"
#include "richtext/RtfText.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QPalette>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QUrl>

namespace pelorinnews {

using namespace test;

namespace {

QByteArray pictureFile(const char *format, QSize size = {4, 2}) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

QString dataAddress(const char *kind, const QByteArray &bytes) {
    return QStringLiteral("data:%1;base64,%2")
        .arg(QLatin1String(kind), QString::fromLatin1(bytes.toBase64()));
}

QByteArray pictureOf(const QByteArray &file, QSizeF shown = {}) {
    return rtfPicture(PagePictures(std::chrono::seconds(10)).read(dataAddress("image/png", file)),
                      shown);
}

QByteArray rtf(const QString &html) {
    return richTextFromHtml(html).value_or(QByteArrayLiteral("(absent)"));
}

}  // namespace

class RichTextWriterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void escapesText_data();
    void escapesText();
    void beginsWithTheTablesOfTheFormat();
    void isAbsentWithoutText();
    void isAbsentBeyondTheBounds();
    void isAbsentOffTheMainThread();
    void anEmptyPageIsADocumentWithoutText();
    void writesPictures_data();
    void writesPictures();
    void refusesPicturesThatCannotBeRead();
    void readsPicturesOfKnownKindsOnly_data();
    void readsPicturesOfKnownKindsOnly();
    void limitsThePixelsOfPictures_data();
    void limitsThePixelsOfPictures();
    void unpacksNoTextBesideAPicture();
    void givesUpPicturesThatTakeTooLong_data();
    void givesUpPicturesThatTakeTooLong();
    void keepsTimeForThePixelsOfProgressivePictures();
    void aLongPageLeavesLessTimeForPictures();
    void readsNothingButItsOwnText();
    void leavesOutWhatThePageDoesNotShow();
    void linksRunNothing_data();
    void linksRunNothing();
    void linkColorsDoNotFollowTheDesktop();
    void survivesHostilePages_data();
    void survivesHostilePages();
    void numbersListsAsTextWhenThereAreTooMany();
    void takesAFewMillisecondsForAnItem();
    void takesALongArticle();
    void offersTheSameBytesUnderThreeTypesOnly();
};

void RichTextWriterTest::escapesText_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");
    const auto row = [](const char *name, const QString &text, const char *bytes) {
        QTest::newRow(name) << text << QByteArray(bytes);
    };
    row("nothing", QString(), "");
    row("ASCII", QStringLiteral("a b~c!"), "a b~c!");
    row("signs of the format", QStringLiteral("{a\\b}"), "\\{a\\\\b\\}");
    row("Latin", QStringLiteral("\u00FC"), "\\u252?");
    row("beyond 32767 is negative", QStringLiteral("\u8A9E"), "\\u-30050?");
    row("outside the first plane", QString::fromUtf8("\xF0\x9F\x98\x80"), "\\u-10179?\\u-8704?");
    row("half a pair, first", QString(QChar(0xD83D)) + QLatin1Char('a'), "\\u-3?a");
    row("half a pair, last", QString(QChar(0xD83D)), "\\u-3?");
    row("half a pair, second", QString(QChar(0xDE00)), "\\u-3?");
    row("tab", QStringLiteral("a\tb"), "a\\tab b");
    row("line break", QStringLiteral("a\u2028b\nc"), "a\\line b\\line c");
    row("non-breaking space", QStringLiteral("a\u00A0b"), "a\\~b");
    row("soft hyphen", QStringLiteral("a\u00ADb"), "a\\-b");
    row("non-breaking hyphen", QStringLiteral("a\u2011b"), "a\\_b");
    row("control characters", QStringLiteral("a\u0001\u0007\u007F\u0085b"), "ab");
    row("NUL", QStringLiteral("a") + QChar(0) + QStringLiteral("b"), "ab");
    row("non-characters", QStringLiteral("a\uFDD0\uFDD1\uFFFE\uFFFFb"), "ab");
    row("objects", QStringLiteral("a\uFFFC\u2029b"), "ab");
    row("Hebrew", QStringLiteral("\u05D0"), "\\u1488?");
}

void RichTextWriterTest::escapesText() {
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    QByteArray out;
    appendRtfText(out, text);
    QCOMPARE(out, bytes);
}

void RichTextWriterTest::beginsWithTheTablesOfTheFormat() {
    const QByteArray bytes = rtf(QStringLiteral("<p style='color:#010203'>a</p>"));
    QVERIFY(bytes.startsWith("{\\rtf1\\ansi\\ansicpg1252\\uc1\\deff0\n"));
    QVERIFY(bytes.contains("{\\fonttbl{\\f0\\fnil\\fcharset0 Verdana;}}"));
    QVERIFY(bytes.contains("{\\colortbl;\\red1\\green2\\blue3;}"));
    QVERIFY(bytes.contains("{\\cf1 a}"));
    QCOMPARE(readRtf(bytes).error, nullptr);
}

void RichTextWriterTest::isAbsentWithoutText() {
    QVERIFY(!richTextFromHtml(QString()));
}

void RichTextWriterTest::isAbsentBeyondTheBounds() {
    QVERIFY(!richTextFromHtml(QString(20'000'000, u'a')));
    QVERIFY(!richTextFromHtml(QStringLiteral("<p>some words</p>").repeated(300'000)));
    QVERIFY(!richTextFromHtml(QStringLiteral("<table>") +
                              QStringLiteral("<tr><td>a<td>b").repeated(20'000)));
}

void RichTextWriterTest::isAbsentOffTheMainThread() {
    bool present = true;
    const std::unique_ptr<QThread> worker(QThread::create(
        [&] { present = richTextFromHtml(QStringLiteral("<p>a</p>")).has_value(); }));
    worker->start();
    QVERIFY(worker->wait(testPatience));
    QVERIFY(!present);
}

void RichTextWriterTest::anEmptyPageIsADocumentWithoutText() {
    for (const QString &html : {QStringLiteral(""), QStringLiteral("<html><body></body></html>")}) {
        const std::optional<QByteArray> bytes = richTextFromHtml(html);
        QVERIFY(bytes);
        QCOMPARE(readRtf(*bytes).error, nullptr);
    }
}

void RichTextWriterTest::writesPictures_data() {
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QSizeF>("shown");
    QTest::addColumn<QByteArray>("start");
    const QSizeF own(0, 0);
    QTest::newRow("PNG") << pictureFile("PNG") << own
                         << QByteArray("{\\pict\\pngblip\\picw4\\pich2\\picwgoal60\\pichgoal30\n");
    QTest::newRow("JPEG") << pictureFile("JPG") << own
                          << QByteArray(
                                 "{\\pict\\jpegblip\\picw4\\pich2\\picwgoal60\\pichgoal30\n");
    QTest::newRow("BMP") << pictureFile("BMP") << own
                         << QByteArray("{\\pict\\pngblip\\picw4\\pich2\\picwgoal60\\pichgoal30\n");
    QTest::newRow("both sides stated")
        << pictureFile("PNG") << QSizeF(10, 20)
        << QByteArray("{\\pict\\pngblip\\picw4\\pich2\\picwgoal150\\pichgoal300\n");
    QTest::newRow("width stated")
        << pictureFile("PNG") << QSizeF(40, 0)
        << QByteArray("{\\pict\\pngblip\\picw4\\pich2\\picwgoal600\\pichgoal300\n");
    QTest::newRow("height stated")
        << pictureFile("PNG") << QSizeF(0, 20)
        << QByteArray("{\\pict\\pngblip\\picw4\\pich2\\picwgoal600\\pichgoal300\n");
    QTest::newRow("wider than the sheet")
        << pictureFile("PNG") << QSizeF(100000, 0)
        << QByteArray("{\\pict\\pngblip\\picw4\\pich2\\picwgoal8640\\pichgoal4320\n");
}

void RichTextWriterTest::writesPictures() {
    QFETCH(QByteArray, file);
    QFETCH(QSizeF, shown);
    QFETCH(QByteArray, start);
    const QByteArray bytes = pictureOf(file, shown);
    QVERIFY2(bytes.startsWith(start), bytes.left(100).constData());
    const QByteArray written = QByteArray::fromHex(bytes.mid(start.size()).chopped(1));
    const QImage image = QImage::fromData(written);
    QCOMPARE(image.size(), QSize(4, 2));
}

void RichTextWriterTest::refusesPicturesThatCannotBeRead() {
    QVERIFY(pictureOf({}).isEmpty());
    QVERIFY(pictureOf("<svg>").isEmpty());
    QVERIFY(pictureOf(pictureFile("PNG", {400, 400}).left(60)).isEmpty());
    // A header that declares 40,000 x 40,000 pixels.
    QByteArray bomb = pictureFile("BMP");
    for (const int place : {18, 22}) {
        bomb[place] = '\x40';
        bomb[place + 1] = '\x9C';
    }
    QVERIFY(pictureOf(bomb).isEmpty());
}

void RichTextWriterTest::readsPicturesOfKnownKindsOnly_data() {
    QTest::addColumn<QByteArray>("file");
    QTest::newRow("drawing") << QByteArray(
        "<svg xmlns='http://www.w3.org/2000/svg' width='4' "
        "height='2'><rect width='4' height='2'/></svg>");
    for (const char *format : {"ICO", "PPM", "XBM", "XPM"})
        QTest::newRow(format) << pictureFile(format);
}

void RichTextWriterTest::readsPicturesOfKnownKindsOnly() {
    QFETCH(QByteArray, file);
    QVERIFY(!QImage::fromData(file).isNull());
    for (const char *claimed : {"image/png", "image/svg+xml", "image/x-icon", "image/*"})
        QVERIFY(
            PagePictures(std::chrono::seconds(10)).read(dataAddress(claimed, file)).image.isNull());
}

void RichTextWriterTest::limitsThePixelsOfPictures_data() {
    QTest::addColumn<QByteArray>("large");
    QTest::addColumn<QByteArray>("small");
    QTest::newRow("PNG") << plainPicture({4000, 3900}) << pictureFile("PNG");
    QTest::newRow("JPEG") << plainPicture({4000, 3900}, "JPG") << pictureFile("JPG");
    QTest::newRow("GIF, encoded again")
        << framedPicture({1999, 1999}, {1999, 1999}) << framedPicture({2, 2}, {2, 2});
    QTest::newRow("GIF that says it is small")
        << framedPicture({2500, 1599}, {1, 1}) << framedPicture({2, 2}, {1, 1});
}

void RichTextWriterTest::limitsThePixelsOfPictures() {
    QFETCH(QByteArray, large);
    QFETCH(QByteArray, small);
    const auto shown = [](const char *name, const QByteArray &file) {
        return QStringLiteral("<img alt='%1' src='%2'>")
            .arg(QLatin1String(name), dataAddress("image/png", file));
    };
    const QByteArray bytes = rtf(shown("first", large) + shown("second", large) +
                                 shown("third", large) + shown("last", small));
    QCOMPARE(bytes.count("blip\\picw"), 3);
    QVERIFY(!bytes.contains("first") && !bytes.contains("second") && !bytes.contains("last"));
    QVERIFY(bytes.contains("third"));
}

void RichTextWriterTest::unpacksNoTextBesideAPicture() {
    const QByteArray file = pictureWithTexts(300);
    QVERIFY(file.contains("zTXt"));
    const PagePicture read =
        PagePictures(std::chrono::seconds(10)).read(dataAddress("image/png", file));
    QCOMPARE(read.image.size(), QSize(10, 10));
    QVERIFY(read.image.textKeys().isEmpty());
    QVERIFY(!read.file.contains("zTXt"));
}

void RichTextWriterTest::givesUpPicturesThatTakeTooLong_data() {
    QTest::addColumn<QByteArray>("file");
    QTest::newRow("large") << repaintedPicture(2000);
    // Without the limit, this picture takes more than a second.
    QTest::newRow("few bytes") << repaintedPicture(700);
}

void RichTextWriterTest::givesUpPicturesThatTakeTooLong() {
    QFETCH(QByteArray, file);
    // More than what is kept for the pixels, so that reading begins.
    PagePictures pictures(std::chrono::milliseconds(600));
    QVERIFY(pictures.read(dataAddress("image/png", file)).image.isNull());
}

void RichTextWriterTest::keepsTimeForThePixelsOfProgressivePictures() {
    const QString large = dataAddress("image/jpeg", repaintedPicture(0));
    QCOMPARE(PagePictures(std::chrono::seconds(10)).read(large).image.size(), QSize(5000, 5000));
    PagePictures pictures(std::chrono::milliseconds(250));
    QVERIFY(pictures.read(large).image.isNull());
    QVERIFY(!pictures.read(dataAddress("image/png", pictureFile("PNG"))).image.isNull());
}

void RichTextWriterTest::aLongPageLeavesLessTimeForPictures() {
    const QString start = QStringLiteral("<p>");
    const auto time = [&](qsizetype characters) {
        return BoundedHtml::beginning(start + QString(characters, QLatin1Char('a'))).pictureTime;
    };
    QVERIFY(time(1) > std::chrono::milliseconds(200));
    QVERIFY(time(1) < std::chrono::milliseconds(250));
    QVERIFY(time(200'000) < time(100'000));
    QVERIFY(time(10'000'000) > std::chrono::milliseconds(0));
    QVERIFY(time(10'000'000) < std::chrono::milliseconds(50));
}

void RichTextWriterTest::readsNothingButItsOwnText() {
    const QTemporaryDir folder;
    const QString picture = folder.filePath(QStringLiteral("picture.png"));
    const QString style = folder.filePath(QStringLiteral("style.css"));
    QFile pictureOut(picture);
    QVERIFY(pictureOut.open(QIODevice::WriteOnly));
    pictureOut.write(pictureFile("PNG"));
    pictureOut.close();
    QFile styleOut(style);
    QVERIFY(styleOut.open(QIODevice::WriteOnly));
    styleOut.write("p { color: #123456 }");
    styleOut.close();

    const QString html =
        QStringLiteral(
            "<link rel=stylesheet href='file://%2'><style>@import url('file://%2');</style>"
            "<p style=\"background-image:url('file://%1')\">a<img alt='one' src='file://%1'>"
            "<img alt='two' src='%1'><img alt='three' src='http://127.0.0.1:9/x.png'>"
            "<img alt='four' src='qrc:/x.png'><img alt='five' src='data:text/plain,x'></p>")
            .arg(picture, style);
    const QByteArray bytes = rtf(html);
    QVERIFY(!bytes.contains("\\pict"));
    QVERIFY(!bytes.contains("\\red18\\green52\\blue86"));
    for (const char *alternative : {"one", "two", "three", "four", "five"})
        QVERIFY2(bytes.contains(alternative), alternative);

    RichTextDocument document;
    for (const int type : {QTextDocument::HtmlResource, QTextDocument::ImageResource,
                           QTextDocument::StyleSheetResource}) {
        QVERIFY(!document.resource(type, QUrl::fromLocalFile(picture)).isValid());
        QVERIFY(!document.resource(type, QUrl(picture)).isValid());
    }
}

void RichTextWriterTest::leavesOutWhatThePageDoesNotShow() {
    const QByteArray bytes = rtf(QStringLiteral(
        "<html><head><title>secret1</title><style>p{content:'secret2'}</style>"
        "<script>var x = '</script-no><p>secret3</p>';</script></head><body>"
        "<div>seen<script>document.write('</div><p>secret4</p>')</script></div>"
        "<!-- secret5 --><p hidden>secret6</p><div style='display:none'><p>secret7</p></div>"
        "<template>secret8</template><iframe>secret9</iframe></body></html>"));
    QVERIFY(bytes.contains("seen"));
    QVERIFY2(!bytes.contains("secret"), bytes.constData());
}

void RichTextWriterTest::linksRunNothing_data() {
    QTest::addColumn<QString>("address");
    QTest::addColumn<QByteArray>("written");
    const auto row = [](const char *address, const char *written) {
        QTest::newRow(address) << QString::fromUtf8(address) << QByteArray(written);
    };
    row("https://news.example/a?b=1#c", "HYPERLINK \"https://news.example/a?b=1#c\"");
    row("mailto:a@news.example", "HYPERLINK \"mailto:a@news.example\"");
    row("//h/a?b", "HYPERLINK \"http://h/a?b\"");
    row("page.html", "");
    row("/etc/hostname", "");
    row("#a", "");
    row("\\\\h\\a", "");
    row("http:/etc/hostname", "");
    row("https:///etc/hostname", "");
    row("http://h/\xC3\xBC {x}", "HYPERLINK \"http://h/%C3%BC%20%7Bx%7D\"");
    row("http://h/a\"b\\c", "HYPERLINK \"http://h/a%22b");
    row("javascript:alert(1)", "");
    row("JavaScript:alert(1)", "");
    row("data:text/html,x", "");
    row("vnd.sun.star.script:x", "");
    row("macro:///x", "");
    row("file:///etc/hostname", "");
}

void RichTextWriterTest::linksRunNothing() {
    QFETCH(QString, address);
    QFETCH(QByteArray, written);
    const QString quoted = QString(address).replace(QLatin1Char('"'), QStringLiteral("&quot;"));
    const QByteArray bytes = rtf(QStringLiteral("<a href=\"%1\">text</a>").arg(quoted));
    QVERIFY(bytes.contains("text"));
    QCOMPARE(readRtf(bytes).error, nullptr);
    QCOMPARE(bytes.contains("HYPERLINK"), !written.isEmpty());
    QVERIFY2(bytes.contains(written), bytes.constData());
}

void RichTextWriterTest::linkColorsDoNotFollowTheDesktop() {
    const QPalette before = QGuiApplication::palette();
    QPalette dark = before;
    dark.setColor(QPalette::Link, QColor(0x99, 0xCC, 0xFF));
    QGuiApplication::setPalette(dark);
    const QByteArray bytes =
        rtf(QStringLiteral("<a href='http://h/'>a</a><a href='http://h/' style='color:red'>b</a>"));
    QGuiApplication::setPalette(before);
    QVERIFY(bytes.contains("{\\colortbl;\\red0\\green0\\blue238;\\red255\\green0\\blue0;}"));
}

void RichTextWriterTest::survivesHostilePages_data() {
    QTest::addColumn<QString>("html");
    const auto row = [](const char *name, const QString &html) { QTest::newRow(name) << html; };
    const auto repeated = [](const char *text, int times) {
        return QString::fromLatin1(text).repeated(times);
    };
    row("unclosed everything", QStringLiteral("<table><tr><td><ul><li><b><a href=x><pre>a"));
    row("closed too often", repeated("</div></table></p>", 1000));
    row("crossed", QStringLiteral("<b><table><i><tr></b><td>a</i></table><ul></td><li>b"));
    row("cells without a table", QStringLiteral("<td>a<tr><td>b</tr>"));
    row("a table without cells", QStringLiteral("<table></table><table><tr></tr></table>a"));
    row("500 tables in each other", repeated("<table><tr><td>a", 500));
    row("500 lists in each other", repeated("<ul><li>a", 500));
    row("500 quotations in each other", repeated("<blockquote>a", 500));
    row("characters by number",
        QStringLiteral("a&#0;&#xFDD0;b&#xFDD1;c&#x2029;&#xFFFC;&#xD800;&#x110000;&#99999999999;"));
    row("characters as such", QStringLiteral("a\uFDD0b\uFDD1c\uFFFC\u2029d\uFFFF") + QChar(0xD800));
    row("NUL in a tag", QStringLiteral("<p cl") + QChar(0) + QStringLiteral("ass=x>a</p>"));
    row("signs", repeated("<", 10000) + repeated("&", 10000) + repeated(">", 10000));
    row("attributes", QStringLiteral("<p ") + repeated("a=b ", 10000) + QStringLiteral(">a"));
    row("sizes", QStringLiteral("<p style='font-size:1e30pt;margin:1e30px;text-indent:-1e30px'>a"
                                "<font size=99999>b</font><img width=1e9 height=-5 src='%1'>"
                                "<table width=99999999 border=99999999 cellpadding=1e9><tr>"
                                "<td width=-5>c<td width=99999999>d</table>")
                     .arg(dataAddress("image/png", pictureFile("PNG"))));
    row("spans", QStringLiteral("<table><tr><td colspan=200 rowspan=30>a<td rowspan=0>b"
                                "<tr><td colspan=-3>c</table>"));
    row("many columns", QStringLiteral("<table><tr>") + repeated("<td>a", 500));
    row("many rows", QStringLiteral("<table>") + repeated("<tr><td>a<td>b", 5000));
    row("many colours", [] {
        QString html;
        for (int i = 0; i < 12000; ++i)
            html +=
                QStringLiteral("<span style='color:#%1'>a</span>").arg(i, 6, 16, QLatin1Char('0'));
        return html;
    }());
    row("many fonts", [] {
        QString html;
        for (int i = 0; i < 1200; ++i)
            html += QStringLiteral("<span style=\"font-family:'f%1;{\\\\}'\">a</span>").arg(i);
        return html;
    }());
    row("broken data pictures",
        QStringLiteral("<img src='data:'><img src='data:image/png'><img src='data:image/png,'>"
                       "<img src='data:image/png;base64,%%%'><img src='data:image/png;base64,AAAA'>"
                       "<img><img src=''>"));
}

void RichTextWriterTest::survivesHostilePages() {
    QFETCH(QString, html);
    QElapsedTimer clock;
    clock.start();
    const std::optional<QByteArray> bytes = richTextFromHtml(html);
    QVERIFY(bytes);
    QCOMPARE(readRtf(*bytes).error, nullptr);
    QVERIFY(bytes->size() < 10'000'000);
    for (const char byte : *bytes)
        QVERIFY(byte == '\n' || (byte >= 0x20 && byte < 0x7F));
    QVERIFY2(clock.elapsed() < 20000, qPrintable(QString::number(clock.elapsed())));
}

void RichTextWriterTest::numbersListsAsTextWhenThereAreTooMany() {
    const QByteArray bytes = rtf(QStringLiteral("<ol><li>a</li></ol>").repeated(2500));
    QVERIFY(bytes.contains("\\ls2000\\ilvl0{\\listtext 1.\\tab}a\\par"));
    QVERIFY(!bytes.contains("\\ls2001"));
    QVERIFY(bytes.contains("\\tx600 1.\\tab a\\par"));
}

void RichTextWriterTest::takesAFewMillisecondsForAnItem() {
    const QString html = QStringLiteral(
                             "<h2>Title</h2><p>Some <b>bold</b> and <a href='http://h/'>linked</a>"
                             " text of a length that is usual in an item of news.</p>"
                             "<ul><li>one</li><li>two</li></ul>")
                             .repeated(18);
    QVERIFY(html.size() > 2800);
    static_cast<void>(rtf(html));
    qint64 best = std::numeric_limits<qint64>::max();
    for (int i = 0; i < 10; ++i) {
        QElapsedTimer clock;
        clock.start();
        QVERIFY(richTextFromHtml(html));
        best = std::min(best, clock.elapsed());
    }
    // A few milliseconds in an optimised build; the bound leaves room for sanitizers and busy
    // computers.
    QVERIFY2(best < 100, qPrintable(QString::number(best)));
}

void RichTextWriterTest::takesALongArticle() {
    const QString paragraph =
        QStringLiteral("<p>%1</p>").arg(QStringLiteral("a few words of news ").repeated(10));
    const QString html = paragraph.repeated(600'000 / paragraph.size() + 1);
    const std::optional<QByteArray> bytes = richTextFromHtml(html);
    QVERIFY(bytes);
    QCOMPARE(bytes->count("a few words of news"),
             html.count(QStringLiteral("a few words of news")));
}

void RichTextWriterTest::offersTheSameBytesUnderThreeTypesOnly() {
    const std::unique_ptr<QMimeData> data = richTextMimeData("{\\rtf1 a}");
    QStringList formats = data->formats();
    formats.sort();
    QCOMPARE(formats, (QStringList{QStringLiteral("application/rtf"),
                                   QStringLiteral("text/richtext"), QStringLiteral("text/rtf")}));
    for (const QString &format : formats)
        QCOMPARE(data->data(format), QByteArray("{\\rtf1 a}"));
    QVERIFY(!data->hasText());
    QVERIFY(!data->hasHtml());
}

}  // namespace pelorinnews

PELORIN_GUI_TEST_MAIN(pelorinnews::RichTextWriterTest)
#include "RichTextWriterTest.moc"
