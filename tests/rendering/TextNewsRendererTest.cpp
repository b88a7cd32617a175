#include "TestMain.h"
#include "rendering/TextNewsRenderer.h"

#include <QAbstractTextDocumentLayout>
#include <QBuffer>
#include <QHelpEvent>
#include <QSignalSpy>
#include <QTextBlock>
#include <QToolTip>

using namespace pelorinnews;

namespace {

const QString object(QChar::ObjectReplacementCharacter);

QString dataAddress(const char *type, const QByteArray &bytes) {
    return QStringLiteral("data:%1;base64,%2")
        .arg(QLatin1String(type), QString::fromLatin1(bytes.toBase64()));
}

QString png() {
    QImage image(4, 4, QImage::Format_Grayscale8);
    image.fill(Qt::black);
    QBuffer buffer;
    image.save(&buffer, "PNG");
    return dataAddress("image/png", buffer.data());
}

}  // namespace

class TextNewsRendererTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aPictureThatIsLeftOutLeavesItsText_data();
    void aPictureThatIsLeftOutLeavesItsText();
    void theTextOfAPictureIsALinkWhereThePictureWas();
    void aPictureAfterABlockStandsOnALineOfItsOwn_data();
    void aPictureAfterABlockStandsOnALineOfItsOwn();
    void listsShowTheirNumbers_data();
    void listsShowTheirNumbers();
    void numbersAreAsLargeAsTheText();
    void listsAreSetApart();
    void aPageShowsItsOwnPictures();
    void aPageIsLaidOutOnceWhenItIsLoaded();
    void aToolTipShowsItsTextAsItIs();
};

void TextNewsRendererTest::aPictureThatIsLeftOutLeavesItsText_data() {
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("text");
    const QString drawing =
        dataAddress("image/svg+xml", "<svg xmlns='http://www.w3.org/2000/svg'/>");
    QTest::newRow("shown") << QStringLiteral("a<img src='%1' alt='Boat'>b").arg(png())
                           << QStringLiteral("a%1b").arg(object);
    QTest::newRow("a drawing")
        << QStringLiteral("a<img src='%1' alt='Boat' width=320>b").arg(drawing)
        << QStringLiteral("aBoatb");
    QTest::newRow("from the net") << QStringLiteral(
                                         "a<img src='https://olvane.example/b.png' alt='Boat'>b")
                                  << QStringLiteral("aBoatb");
    QTest::newRow("several") << QStringLiteral(
                                    "<img src='x' alt='One'><img src='y' alt='Two'>"
                                    "<p><img src='%1' alt='Three'> <img src='z' alt='Four'>")
                                    .arg(png())
                             << QStringLiteral("OneTwo\n%1 Four").arg(object);
    QTest::newRow("the same twice")
        << QStringLiteral("<img src='x' alt='Star'>").repeated(2) << QStringLiteral("StarStar");
    QTest::newRow("several lines")
        << QStringLiteral("<img src='x' alt='A\n boat'>") << QStringLiteral("A boat");
    QTest::newRow("no text") << QStringLiteral("a<img src='x' width=320 height=90>b")
                             << QStringLiteral("ab");
    QTest::newRow("no picture at all") << QStringLiteral("a") << QStringLiteral("a");
}

void TextNewsRendererTest::aPictureThatIsLeftOutLeavesItsText() {
    QFETCH(const QString, html);
    TextNewsRenderer renderer(nullptr);
    renderer.loadHtmlString(html, PageKind::Item);
    QString text;
    for (QTextBlock block = renderer.document()->begin(); block.isValid(); block = block.next())
        text += (text.isEmpty() ? QString() : QStringLiteral("\n")) + block.text();
    QTEST(text, "text");
}

void TextNewsRendererTest::theTextOfAPictureIsALinkWhereThePictureWas() {
    TextNewsRenderer renderer(nullptr);
    renderer.loadHtmlString(QStringLiteral("<a href='https://olvane.example/'>"
                                           "<img src='x' alt='Boat'></a>"),
                            PageKind::Item);
    const QTextFragment fragment = renderer.document()->begin().begin().fragment();
    QCOMPARE(fragment.text(), QStringLiteral("Boat"));
    QCOMPARE(fragment.charFormat().anchorHref(), QStringLiteral("https://olvane.example/"));
    QVERIFY(!fragment.charFormat().isImageFormat());
}

void TextNewsRendererTest::aPictureAfterABlockStandsOnALineOfItsOwn_data() {
    QTest::addColumn<QString>("before");
    QTest::newRow("heading") << QStringLiteral("<h2>a</h2>");
    QTest::newRow("paragraph") << QStringLiteral("<p>a</p>");
    QTest::newRow("list") << QStringLiteral("<ul><li>a</ul>");
}

void TextNewsRendererTest::aPictureAfterABlockStandsOnALineOfItsOwn() {
    QFETCH(const QString, before);
    for (const QString &picture :
         {QStringLiteral("<img alt='X'>"), QStringLiteral("<img alt='X' src='data:image/png,'>"),
          QStringLiteral("<img src='%1'>").arg(png())}) {
        TextNewsRenderer renderer(nullptr);
        renderer.loadHtmlString(before + picture, PageKind::Item);
        QCOMPARE(renderer.document()->blockCount(), 2);
        QCOMPARE(renderer.document()->begin().text(), QStringLiteral("a"));
        QCOMPARE(renderer.document()->begin().next().text().size(), 1);
    }
}

void TextNewsRendererTest::listsShowTheirNumbers_data() {
    QTest::addColumn<QString>("one");
    QTest::addColumn<QString>("other");
    QTest::addColumn<bool>("same");
    const auto row = [](const char *name, const char *one, const char *other, bool same) {
        QTest::newRow(name) << QString::fromLatin1(one) << QString::fromLatin1(other) << same;
    };
    row("start", "<ol start=5><li>a</ol>", "<ol><li value=5>a</ol>", true);
    row("another start", "<ol start=5><li>a</ol>", "<ol><li>a</ol>", false);
    row("letters", "<ol type=a><li>a</ol>", "<ol style='list-style:lower-alpha'><li>a</ol>", true);
    row("letters, not digits", "<ol type=a><li>a</ol>", "<ol><li>a</ol>", false);
    row("reversed", "<ol reversed><li>a<li>b</ol>", "<ol><li value=2>a<li value=1>b</ol>", true);
    row("no marker", "<ul><li>a</ul>", "<ul style='list-style:none'><li>a</ul>", false);
    row("from the right", "<ol dir=rtl><li>a</ol>", "<ol dir=rtl start=2><li>a</ol>", false);
    row("in a cell", "<table><tr><td>a<td><ol><li>b</ol></table>",
        "<table><tr><td>a<td><ol start=2><li>b</ol></table>", false);
}

void TextNewsRendererTest::listsShowTheirNumbers() {
    QFETCH(const QString, one);
    QFETCH(const QString, other);
    const auto picture = [](const QString &html) {
        TextNewsRenderer renderer(nullptr);
        renderer.resize(300, 200);
        renderer.loadHtmlString(html, PageKind::Item);
        return renderer.grab().toImage();
    };
    QTEST(picture(one) == picture(other), "same");
}

void TextNewsRendererTest::numbersAreAsLargeAsTheText() {
    TextNewsRenderer renderer(nullptr);
    renderer.setStandardFontFamily(QStringLiteral("Verdana"));
    renderer.resize(300, 200);
    const auto dark = [&renderer](const QString &html, QRect area) {
        renderer.loadHtmlString(html, PageKind::Item);
        const QImage image = renderer.grab().toImage();
        int rows = 0;
        for (int y = area.top(); y <= area.bottom(); ++y) {
            for (int x = area.left(); x <= area.right(); ++x) {
                if (qGray(image.pixel(x, y)) < 128) {
                    ++rows;
                    break;
                }
            }
        }
        return rows;
    };
    const QRect markers(0, 0, 46, 100);
    const QRect texts(47, 0, 50, 100);
    const int number = dark(QStringLiteral("<ol start=8><li>a</ol>"), markers);
    QVERIFY(number > 0);
    QCOMPARE(number, dark(QStringLiteral("<ul style='list-style:none'><li>8</ul>"), texts));
}

void TextNewsRendererTest::listsAreSetApart() {
    TextNewsRenderer renderer(nullptr);
    renderer.loadHtmlString(QStringLiteral("a<ul><li>b<ul><li>c</ul></ul>d"), PageKind::Item);
    const QTextBlock b = renderer.document()->begin().next();
    QCOMPARE(b.blockFormat().topMargin(), 12.0);
    QCOMPARE(b.blockFormat().bottomMargin(), 0.0);
    QCOMPARE(b.blockFormat().indent(), 1);
    QCOMPARE(b.next().blockFormat().topMargin(), 0.0);
    QCOMPARE(b.next().blockFormat().bottomMargin(), 12.0);
    QCOMPARE(b.next().blockFormat().indent(), 2);
    QCOMPARE(b.next().next().blockFormat().indent(), 0);
}

void TextNewsRendererTest::aPageShowsItsOwnPictures() {
    TextNewsRenderer renderer(nullptr);
    renderer.resize(100, 100);
    const auto shown = [&renderer](const QString &address) {
        renderer.loadHtmlString(QStringLiteral("<img width=50 height=50 src='%1'>").arg(address),
                                PageKind::Item);
        return renderer.grab().toImage();
    };
    const QImage black = shown(png());
    QImage white(4, 4, QImage::Format_Grayscale8);
    white.fill(Qt::white);
    QBuffer buffer;
    white.save(&buffer, "PNG");
    QVERIFY(shown(dataAddress("image/png", buffer.data())) != black);
    QVERIFY(shown(png()) == black);
}

// Repairing the document after `setHtml` must not lay it out a second time: nested tables take
// long.
void TextNewsRendererTest::aPageIsLaidOutOnceWhenItIsLoaded() {
    TextNewsRenderer renderer(nullptr);
    renderer.resize(500, 300);
    renderer.show();
    const QString item = QStringLiteral("<h1>Title</h1><ul><li>One<li>Two</ul>");
    renderer.loadHtmlString(item, PageKind::Item);
    const QSignalSpy layouts(renderer.document()->documentLayout(),
                             &QAbstractTextDocumentLayout::documentSizeChanged);
    renderer.loadHtmlString(item + item, PageKind::Item);
    static_cast<void>(renderer.grab());
    QCOMPARE(layouts.count(), 1);
}

// A tooltip that Qt takes for HTML would open the picture: here a local file.
void TextNewsRendererTest::aToolTipShowsItsTextAsItIs() {
    TextNewsRenderer renderer(nullptr);
    renderer.resize(500, 300);
    renderer.show();
    const auto toolTip = [&](const QString &html) {
        renderer.loadHtmlString(html, PageKind::Item);
        const QPoint place(20, 20);
        QHelpEvent event(QEvent::ToolTip, place, renderer.viewport()->mapToGlobal(place));
        QCoreApplication::sendEvent(renderer.viewport(), &event);
        return QToolTip::text();
    };
    const QString link =
        QStringLiteral("<p style='font-size:40px'><a href='https://olvane.example/'%1>Link</a>");
    QCOMPARE(toolTip(link.arg(QStringLiteral(" title='&lt;img src=/etc/fstab&gt; &amp;amp;'"))),
             QStringLiteral("<p style='white-space:pre-wrap'>&lt;img src=/etc/fstab&gt; "
                            "&amp;amp;</p>"));
    QTRY_VERIFY(toolTip(link.arg(QString())).isEmpty());
}

PELORIN_WIDGET_TEST_MAIN(TextNewsRendererTest)
#include "TextNewsRendererTest.moc"
