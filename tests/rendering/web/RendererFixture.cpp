#include "RendererFixture.h"

#include "rendering/PageWidget.h"

#include <QPixmap>
#include <QScreen>
#include <QTest>
#include <QTextBrowser>

namespace pelorinnews::test {

RendererFixture::RendererFixture(Painter painter) : _painter(painter) {
    EngineAccess::instance().forgetConnections();
    // A folder without the page process leads to the text renderer.
    view.setProgramFolder(isWeb() ? QStringLiteral(PELORIN_PAGE_PROCESS_DIR)
                                  : QStringLiteral(PELORIN_APP_DIR "/bin"));
    view.setStandardFontFamily(QStringLiteral("Verdana"));
    view.setPolicyDelegate(this);
    view.setWindowTitle(QStringLiteral("Page"));
    view.resize(500, 300);
    view.show();
    if (!QTest::qWaitForWindowActive(&view, testPatience))
        qFatal("the view does not become active");
    if (isWeb())
        waitForEngine();
    if ((browser() != nullptr) == isWeb())
        qFatal("the view has another renderer than requested");
}

// On a busy computer the page process may start too late, and the view uses the text renderer.
// Closing and reopening the view tries the page process again. The text stays until the process has
// painted.
void RendererFixture::waitForEngine() {
    const auto isConnected = [this] {
        if (browser() != nullptr && !_engine.isConnected()) {
            view.hide();
            view.show();
        }
        return browser() == nullptr && _engine.isConnected();
    };
    waitUntil(isConnected, "no page process");
    if (!QTest::qWaitForWindowActive(&view, testPatience))
        qFatal("the view does not become active");
}

RendererFixture::~RendererFixture() {
    view.setPolicyDelegate(nullptr);
}

NavigationDecision RendererFixture::webViewDecidePolicyForNavigationAction(NavigationType type,
                                                                           const QUrl &url) {
    questions.append({type, url.toString(QUrl::FullyEncoded)});
    return type == NavigationType::LinkClicked ? NavigationDecision::Ignore
                                               : NavigationDecision::Use;
}

QTextBrowser *RendererFixture::browser() const {
    return view.findChild<QTextBrowser *>();
}

void RendererFixture::load(const QString &html) {
    if (!isWeb()) {
        view.loadHtmlString(html);
        return;
    }
    const auto loads = [this] { return _engine.state()[u"loadsFinished"].toInt(); };
    const int before = loads();
    const qint64 process = _engine.process();
    view.loadHtmlString(html);
    // A page process that was started meanwhile counts its loads from zero.
    waitUntil([&] { return loads() > (_engine.process() == process ? before : 0); },
              "the load does not end");
}

QString RendererFixture::text() const {
    return isWeb() ? _engine.ask(QStringLiteral("text")).toString() : browser()->toPlainText();
}

QVariant RendererFixture::evaluated(const QString &script) const {
    return _engine.ask(QStringLiteral("evaluate"), script).toVariant();
}

bool RendererFixture::hasFocusInPage() const {
    return evaluated(QStringLiteral("document.activeElement !== document.body")).toBool();
}

QColor RendererFixture::pixel(QPoint place) const {
    const QPixmap shot = grabbed(QRect(place, QSize(1, 1)));
    return shot.isNull() ? QColor() : shot.toImage().pixelColor(0, 0);
}

QImage RendererFixture::screen() const {
    return grabbed(view.rect()).toImage();
}

// On Wayland, a program cannot see the screen.
QPixmap RendererFixture::grabbed(const QRect &part) const {
    if (QGuiApplication::platformName() == QLatin1String("wayland"))
        return const_cast<OlvNewsWebView &>(view).grab(part);  // changes nothing that shows
    return view.screen()->grabWindow(view.winId(), part.x(), part.y(), part.width(), part.height());
}

QWidget *RendererFixture::target() const {
    if (!isWeb())
        return browser()->viewport();
    return view.findChild<PageWidget *>();
}

void RendererFixture::waitForColour(QPoint place, const QColor &colour) const {
    waitUntil([&] { return pixel(place) == colour; }, "the page is not painted");
    if (!isWeb())
        return;
    // The engine drops clicks on content that it has only just painted.
    waitForFrames(6);
    QTest::qWait(100);
}

void RendererFixture::waitForFrames(int count) const {
    // Each call counts by a variable of its own. A new page process begins again.
    static int call = 0;
    const QString script = QStringLiteral(R"((() => {
        if (window.%1 === undefined) {
            window.%1 = 0;
            const begin = () => ++window.%1 < %2 && requestAnimationFrame(begin);
            requestAnimationFrame(begin);
        }
        return window.%1;
    })())")
                               .arg(QStringLiteral("frames%1").arg(++call))
                               .arg(count);
    waitUntil([&] { return evaluated(script).toInt() >= count; }, "the engine begins no frames");
}

void RendererFixture::click(QPoint place, Qt::MouseButton button,
                            Qt::KeyboardModifiers held) const {
    QTest::mouseMove(target(), place);
    QTest::mouseClick(target(), button, held, place);
}

QString page(const QString &body) {
    return QStringLiteral("<body style='margin:0;background:#20c040'>") + body;
}

QString asLine(const RendererFixture::Question &question) {
    return QString::number(static_cast<int>(question.type)) + QLatin1Char(' ') + question.address;
}

}  // namespace pelorinnews::test
