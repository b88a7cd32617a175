#include "TestMain.h"
#include "TextNewsRenderer.h"

#include <QBuffer>
#include <QTextBlock>

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
    renderer.loadHtmlString(html);
    QString text;
    for (QTextBlock block = renderer.document()->begin(); block.isValid(); block = block.next())
        text += (text.isEmpty() ? QString() : QStringLiteral("\n")) + block.text();
    QTEST(text, "text");
}

void TextNewsRendererTest::theTextOfAPictureIsALinkWhereThePictureWas() {
    TextNewsRenderer renderer(nullptr);
    renderer.loadHtmlString(
        QStringLiteral("<a href='https://olvane.example/'>"
                       "<img src='x' alt='Boat'></a>"));
    const QTextFragment fragment = renderer.document()->begin().begin().fragment();
    QCOMPARE(fragment.text(), QStringLiteral("Boat"));
    QCOMPARE(fragment.charFormat().anchorHref(), QStringLiteral("https://olvane.example/"));
    QVERIFY(!fragment.charFormat().isImageFormat());
}

PELORIN_WIDGET_TEST_MAIN(TextNewsRendererTest)
#include "TextNewsRendererTest.moc"
