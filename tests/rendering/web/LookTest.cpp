// Fonts, colours and sizes: which of them the desktop decides, which the page, and which the
// reader.

#include "RendererFixture.h"
#include "TestMain.h"

#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QMimeData>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTextBrowser>
#include <QTextDocument>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

const QPoint corner(480, 280);

const QString followsTheDesktop = QStringLiteral(
    "<style>@media (prefers-color-scheme: dark) { body { background: #102030 } }</style>Page");
const QColor darkGround(0x10, 0x20, 0x30);

}  // namespace

class LookTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data();
    void init();
    void cleanup();

    void drawsInTheStandardFontWhereNoneIsNamed();
    void drawsItemsBlackOnWhiteInADarkDesktop();
    void letsAPageFollowTheDesktopsColours();
    void drawsAStatusInTheDesktopsColours();
    void followsTheDesktopsFontSize();
    void zoomsByKeys();
    void zoomsByTheWheel();
    void keepsTheZoomForLaterPages();
    void leavesTheLoadedPageAlone();
    void doesNotWaitLongForAStyleSheet_data();
    void doesNotWaitLongForAStyleSheet();
    void shrinksPicturesToTheWindow();
    void leavesPicturesMadeForScrolling_data();
    void leavesPicturesMadeForScrolling();

private:
    static void useDarkColours();
    [[nodiscard]] bool draws(const QColor &color) const;
    // Presses Ctrl and a key.
    void press(Qt::Key key) const;
    // The size of the page's text, relative to its size without zoom.
    [[nodiscard]] double zoom() const;
    [[nodiscard]] int fontPixels() const;
    [[nodiscard]] QRect pictureOnScreen() const;

    QPalette _palette;
    QFont _font;
    std::unique_ptr<RendererFixture> _fixture;
};

void LookTest::initTestCase_data() {
    QTest::addColumn<Painter>("painter");
    QTest::newRow("web") << Painter::Web;
    QTest::newRow("text") << Painter::Text;
}

void LookTest::init() {
    QFETCH_GLOBAL(const Painter, painter);
    _palette = QApplication::palette();
    _font = QApplication::font();
    _fixture = std::make_unique<RendererFixture>(painter);
}

void LookTest::cleanup() {
    _fixture.reset();
    QApplication::setPalette(_palette);
    QApplication::setFont(_font);
}

void LookTest::useDarkColours() {
    QPalette dark(QColor(0x30, 0x30, 0x30));
    dark.setColor(QPalette::Base, Qt::black);
    dark.setColor(QPalette::Text, Qt::yellow);
    dark.setColor(QPalette::WindowText, Qt::white);
    dark.setColor(QPalette::Link, QColor(0x99, 0xcc, 0xff));
    QApplication::setPalette(dark);
}

bool LookTest::draws(const QColor &color) const {
    const QImage screen = _fixture->screen();
    for (int y = 0; y < screen.height(); ++y)
        for (int x = 0; x < screen.width(); ++x)
            if (screen.pixelColor(x, y) == color)
                return true;
    return false;
}

void LookTest::press(Qt::Key key) const {
    const QKeyEvent event(QEvent::KeyPress, key, Qt::ControlModifier);
    QVERIFY(_fixture->view.performKeyEquivalent(event));
}

int LookTest::fontPixels() const {
    if (!_fixture->isWeb())
        return _fixture->browser()->document()->defaultFont().pixelSize();
    return _fixture->evaluated(QStringLiteral("parseInt(getComputedStyle(document.body).fontSize)"))
        .toInt();
}

double LookTest::zoom() const {
    if (!_fixture->isWeb())
        return qRound(10 * fontPixels() / 16.0) / 10.0;
    return qRound(100 * _fixture->evaluated(QStringLiteral("devicePixelRatio")).toDouble()) / 100.0;
}

void LookTest::drawsInTheStandardFontWhereNoneIsNamed() {
    const auto drawn = [this](const QString &style) {
        _fixture->load(QStringLiteral("<body style='background:#20c040'><p style='%1'>Quick brown "
                                      "fox WAVE il1</p>")
                           .arg(style));
        waitUntil([this] { return _fixture->pixel(QPoint(480, 280)) == QColor(0x20, 0xc0, 0x40); },
                  "no page is painted");
        QTest::qWait(300);
        QImage image = _fixture->screen().copy(0, 0, 480, 100);
        _fixture->load(QStringLiteral("<body style='background:#ffffff'>"));
        waitUntil([this] { return _fixture->pixel(QPoint(480, 280)) == QColor(Qt::white); },
                  "no page is painted");
        return image;
    };
    const QImage unnamed = drawn(QString());
    QCOMPARE(unnamed, drawn(QStringLiteral("font-family:Verdana")));
    QVERIFY(unnamed != drawn(QStringLiteral("font-family:DejaVu Serif")));
    QVERIFY(unnamed != drawn(QStringLiteral("font-family:DejaVu Sans Mono")));
}

void LookTest::drawsItemsBlackOnWhiteInADarkDesktop() {
    useDarkColours();
    _fixture->load(
        QStringLiteral("<p style='font-size:100px'>\u25a0\u25a0 <a href=a><b>\u25a0</b></a></p>"));
    waitUntil([this] { return _fixture->pixel(corner) == QColor(Qt::white); },
              "the page is not white");
    waitUntil([this] { return draws(Qt::black); }, "the text is not black");
    waitUntil([this] { return draws(QColor(0x00, 0x00, 0xee)); }, "the link is not blue");
}

void LookTest::letsAPageFollowTheDesktopsColours() {
    _fixture->load(followsTheDesktop);
    waitUntil([this] { return _fixture->pixel(corner) == QColor(Qt::white); },
              "the page is not white");
    useDarkColours();
    if (_fixture->isWeb()) {
        waitUntil([this] { return _fixture->pixel(corner) == darkGround; }, "the page is not dark");
        QApplication::setPalette(_palette);
    }
    waitUntil([this] { return _fixture->pixel(corner) == QColor(Qt::white); },
              "the page is not white again");
}

void LookTest::drawsAStatusInTheDesktopsColours() {
    const auto showsStatus = [this](const QColor &background, const QColor &text) {
        return _fixture->pixel(corner) == background && draws(text);
    };
    const QString status = QStringLiteral("<b style='font-size:100px'>\u25a0</b>");
    _fixture->view.loadHtmlString(status, PageKind::Status);
    waitUntil([&] { return showsStatus(_palette.base().color(), _palette.text().color()); },
              "the status has not the colours of the desktop");
    useDarkColours();
    waitUntil([&] { return showsStatus(Qt::black, Qt::yellow); },
              "the status has not the dark colours of the desktop");
    QPalette red = QApplication::palette();
    red.setColor(QPalette::Text, Qt::red);
    QApplication::setPalette(red);
    waitUntil([&] { return showsStatus(Qt::black, Qt::red); },
              "the status has not the new colour of the desktop's text");
    _fixture->load(status);
    waitUntil([&] { return showsStatus(Qt::white, Qt::black); }, "an item is not black on white");
}

void LookTest::followsTheDesktopsFontSize() {
    _fixture->load(QStringLiteral("Text"));
    QTRY_COMPARE(fontPixels(), 16);
    QFont large = _font;
    large.setPointSizeF(20);
    QApplication::setFont(large);
    QTRY_VERIFY(fontPixels() > 16);
    const int enlarged = fontPixels();
    large.setPointSizeF(30);
    QApplication::setFont(large);
    QTRY_VERIFY(fontPixels() > enlarged);
    large.setPointSizeF(4);
    QApplication::setFont(large);
    QTRY_COMPARE(fontPixels(), 16);
}

void LookTest::zoomsByKeys() {
    _fixture->load(QStringLiteral("Text"));
    QTRY_COMPARE(zoom(), 1.0);
    press(Qt::Key_Plus);
    QTRY_VERIFY(zoom() > 1.0);
    const double once = zoom();
    press(Qt::Key_Plus);
    QTRY_VERIFY(zoom() > once);
    for (int i = 0; i < 20; ++i)
        press(Qt::Key_Plus);
    QTRY_COMPARE(zoom(), 3.0);
    press(Qt::Key_0);
    QTRY_COMPARE(zoom(), 1.0);
    for (int i = 0; i < 20; ++i)
        press(Qt::Key_Minus);
    QTRY_COMPARE(zoom(), 0.5);
}

void LookTest::zoomsByTheWheel() {
    _fixture->load(QStringLiteral("Text"));
    QTRY_COMPARE(zoom(), 1.0);
    // Buttons 4 and 5 of an X server are the wheel, up and down. A turn is lost if the pointer has
    // only just entered the window, so it is repeated.
    const auto turnUntil = [this](int button, const std::function<bool()> &happened) {
        const QPoint place = _fixture->target()->mapToGlobal(QPoint(50, 50));
        const QString command =
            QStringLiteral("xdotool mousemove %1 %2 keydown ctrl click %3 keyup ctrl")
                .arg(place.x())
                .arg(place.y())
                .arg(button);
        const auto turned = [&] {
            QProcess::execute(QStringLiteral("sh"), {QStringLiteral("-c"), command});
            return QTest::qWaitFor(happened, 500);
        };
        waitUntil(turned, "the wheel does not zoom");
    };
    turnUntil(4, [this] { return zoom() > 1.0; });
    turnUntil(5, [this] { return zoom() < 1.0; });
}

void LookTest::keepsTheZoomForLaterPages() {
    _fixture->load(QStringLiteral("Text"));
    press(Qt::Key_Plus);
    press(Qt::Key_Plus);
    press(Qt::Key_Plus);
    QTRY_COMPARE(zoom(), 1.5);
    _fixture->load(QStringLiteral("Another text"));
    QTRY_COMPARE(_fixture->text(), QStringLiteral("Another text"));
    QTRY_COMPARE(zoom(), 1.5);
}

// What the desktop and the reader choose changes neither the loaded page nor a copy of it.
void LookTest::leavesTheLoadedPageAlone() {
    const QString html = QStringLiteral("<p style='font-size:30px'>Text <img width=10 alt=a>");
    const auto copied = [this] {
        press(Qt::Key_C);
        const QMimeData *data = QApplication::clipboard()->mimeData();
        QMap<QString, QByteArray> all;
        for (const QString &format : data->formats())
            all.insert(format, data->data(format));
        return all;
    };
    for (const PageKind kind : {PageKind::Item, PageKind::Status}) {
        _fixture->view.loadHtmlString(html, kind);
        const QMap<QString, QByteArray> plain = copied();
        QVERIFY(plain.value(QStringLiteral("text/rtf")).contains("Text"));
        useDarkColours();
        QFont large = _font;
        large.setPointSizeF(20);
        QApplication::setFont(large);
        press(Qt::Key_Plus);
        QCOMPARE(_fixture->view.outerHTML(), html);
        QCOMPARE(copied(), plain);
        _fixture->view.loadHtmlString(html, kind);
        QCOMPARE(copied(), plain);
        QApplication::setPalette(_palette);
        QApplication::setFont(_font);
        press(Qt::Key_0);
    }
}

namespace {

// A picture of one colour.
QString picture(const QSize &size, const QString &attributes = {}) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(ground);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "png");
    return QStringLiteral("<img %1 src=\"data:image/png;base64,%2\">")
        .arg(attributes, QLatin1String(bytes.toBase64()));
}

}  // namespace

// The extent of the picture on the screen.
QRect LookTest::pictureOnScreen() const {
    const QImage screen = _fixture->screen();
    QRect extent;
    for (int y = 0; y < screen.height(); ++y)
        for (int x = 0; x < screen.width(); ++x)
            if (screen.pixelColor(x, y) == ground)
                extent |= QRect(x, y, 1, 1);
    return extent;
}

void LookTest::doesNotWaitLongForAStyleSheet_data() {
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isAppliedLate");
    const QString page = QStringLiteral("<head>%2</head><body bgcolor=#20c040>The page");
    const QString link = QStringLiteral("<link rel=stylesheet href='%1'>");
    const QString text = QStringLiteral("The page");
    QTest::newRow("in the head") << page.arg(link) << text << true;
    QTest::newRow("twice in the page") << page.arg(QString()) + link + QStringLiteral(", its ") +
                                              link + QStringLiteral("<b>end</b>")
                                       << QStringLiteral("The page, its end") << true;
    QTest::newRow("imported") << page.arg(QStringLiteral(
                                     "<style>@import '%1'; body { color: red }</style>"))
                              << text << false;
    QTest::newRow("imported by a linked one")
        << page.arg(QStringLiteral("<link rel=stylesheet href=\"data:text/css,@import '%1'\">"))
        << text << false;
    QTest::newRow("with names that hide the document's functions")
        << page.arg(link) + QStringLiteral(
                                "<form name=querySelectorAll></form>"
                                "<form name=addEventListener></form>")
        << text << true;
}

void LookTest::doesNotWaitLongForAStyleSheet() {
    QFETCH(const QString, html);
    QFETCH(const QString, text);
    QFETCH(const bool, isAppliedLate);
    // Accepts connections and does not answer.
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    _fixture->load(QStringLiteral("<body bgcolor=#ffffff>Before"));
    const qint64 process = _fixture->isWeb() ? _fixture->engine().process() : 0;
    _fixture->view.loadHtmlString(
        html.arg(QStringLiteral("http://127.0.0.1:%1/").arg(server.serverPort())));
    waitUntil([this] { return _fixture->pixel(corner) == ground; }, "the page is not painted");
    waitUntil([&] { return _fixture->text().simplified() == text; }, "the page is not complete");
    if (!_fixture->isWeb())
        return;
    QCOMPARE(_fixture->engine().process(), process);
    if (html.contains(u"color: red"))
        QCOMPARE(_fixture->evaluated(QStringLiteral("getComputedStyle(document.body).color")),
                 QVariant(QStringLiteral("rgb(255, 0, 0)")));
    if (!isAppliedLate)
        return;
    const auto answer = [&server] {
        while (QTcpSocket *asked = server.nextPendingConnection()) {
            const QByteArray style = "body { background: #102030 }";
            asked->write(
                "HTTP/1.1 200 OK\r\nContent-Type: text/css\r\nConnection: close\r\n"
                "Content-Length: " +
                QByteArray::number(style.size()) + "\r\n\r\n" + style);
            asked->disconnectFromHost();
        }
    };
    connect(&server, &QTcpServer::newConnection, this, answer);
    answer();
    waitUntil([this] { return _fixture->pixel(corner) == darkGround; },
              "the style sheet is not applied");
}

void LookTest::shrinksPicturesToTheWindow() {
    const QString html = picture(QSize(2000, 500)) + QStringLiteral("<p>Text");
    _fixture->load(html);
    const auto isShrunk = [this] {
        const QRect shown = pictureOnScreen();
        const int width = _fixture->view.width();
        // A page has a margin of 8 pixels, and may have a scroll bar.
        return shown.left() == 8 && shown.right() <= width - 8 && shown.width() >= width - 40 &&
               qAbs(shown.width() - 4 * shown.height()) <= 4;
    };
    QTRY_VERIFY2(isShrunk(), qPrintable(QDebug::toString(pictureOnScreen())));
    _fixture->view.window()->resize(360, 300);
    QTRY_VERIFY(_fixture->view.width() == 360);
    QTRY_VERIFY2(isShrunk(), qPrintable(QDebug::toString(pictureOnScreen())));
    _fixture->view.window()->resize(640, 300);
    QTRY_VERIFY(_fixture->view.width() == 640);
    QTRY_VERIFY2(isShrunk(), qPrintable(QDebug::toString(pictureOnScreen())));
    QCOMPARE(_fixture->view.outerHTML(), html);
    // A picture that fits is left as it is, even if its sides have other proportions.
    _fixture->load(picture(QSize(100, 100), QStringLiteral("width=300 height=20")));
    QTRY_COMPARE(pictureOnScreen().size(), QSize(300, 20));
}

void LookTest::leavesPicturesMadeForScrolling_data() {
    QTest::addColumn<QString>("html");
    const QSize wide(2000, 100);
    QTest::newRow("a style that limits it")
        << picture(wide, QStringLiteral("style='max-width:1500px'"));
    QTest::newRow("in an element that scrolls")
        << QStringLiteral("<div style='overflow-x:auto'>%1</div>").arg(picture(wide));
    QTest::newRow("in an element that a class lets scroll")
        << QStringLiteral("<style>.strip{overflow:auto}</style><div class=strip><p>%1</p></div>")
               .arg(picture(wide));
    QTest::newRow("in a wide element")
        << QStringLiteral("<div style='width:3000px'>%1</div>").arg(picture(wide));
}

// A text document knows none of these.
void LookTest::leavesPicturesMadeForScrolling() {
    if (!_fixture->isWeb())
        return;
    QFETCH(const QString, html);
    _fixture->load(html + QStringLiteral("<p>") + picture(QSize(3000, 600)));
    // The second picture is shrunk, so the script has seen the first one.
    const auto height = [this](int index) {
        return _fixture->evaluated(QStringLiteral("document.images[%1].height").arg(index)).toInt();
    };
    QTRY_VERIFY(height(1) < 600);
    QVERIFY(height(0) >= 75);
    QVERIFY(_fixture->evaluated(QStringLiteral("document.images[0].width")).toInt() >= 1500);
}

PELORIN_WIDGET_TEST_MAIN(LookTest)
#include "LookTest.moc"
