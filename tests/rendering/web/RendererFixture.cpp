#include "RendererFixture.h"

#include <QElapsedTimer>
#include <QPixmap>
#include <QScreen>
#include <QTest>
#include <QTextBrowser>
#include <QWebEngineScript>
#include <QWebEngineView>

#include <memory>
#include <optional>

namespace pelorinnews::test {

RendererFixture::RendererFixture(Painter painter) {
    // A folder without the plug-in leads to the text renderer.
    view.setRendererFolder(painter == Painter::Web ? QStringLiteral(PELORIN_APP_DIR "/lib/pelorin")
                                                   : QStringLiteral(PELORIN_APP_DIR "/bin"));
    view.setStandardFontFamily(QStringLiteral("Verdana"));
    view.setPolicyDelegate(this);
    _web = view.findChild<QWebEngineView *>();
    _browser = view.findChild<QTextBrowser *>();
    if ((_web != nullptr) != (painter == Painter::Web) || (_web == nullptr && _browser == nullptr))
        qFatal("the view has another renderer than requested");
    view.setWindowTitle(QStringLiteral("Page"));
    view.resize(500, 300);
    view.show();
    if (!QTest::qWaitForWindowActive(&view, testPatience))
        qFatal("the view does not become active");
}

RendererFixture::~RendererFixture() {
    view.setPolicyDelegate(nullptr);
}

NavigationDecision RendererFixture::webViewDecidePolicyForNavigationAction(NavigationType type,
                                                                           const QUrl &url) {
    questions.append({type, url.toString(QUrl::FullyEncoded)});
    return type == NavigationType::LinkClicked || refuses(questions.last().address)
               ? NavigationDecision::Ignore
               : NavigationDecision::Use;
}

void RendererFixture::load(const QString &html) {
    bool finished = _web == nullptr;
    QObject context;
    if (_web)
        QObject::connect(_web, &QWebEngineView::loadFinished, &context,
                         [&finished] { finished = true; });
    view.loadHtmlString(html);
    waitUntil([&finished] { return finished; }, "the load does not end");
}

QString RendererFixture::text() const {
    if (_browser)
        return _browser->toPlainText();
    // A page that is being replaced never answers. After this time the question is repeated, so
    // that the new page answers it.
    constexpr std::chrono::milliseconds answerTimeout{2000};
    auto told = std::make_shared<std::optional<QString>>();
    QElapsedTimer sinceAsked;
    const auto answered = [&] {
        if (!sinceAsked.isValid() || sinceAsked.hasExpired(answerTimeout.count())) {
            sinceAsked.start();
            _web->page()->toPlainText([told](const QString &text) { *told = text; });
        }
        return told->has_value();
    };
    waitUntil(answered, "the page does not report its text");
    return told->value();
}

QVariant RendererFixture::evaluated(const QString &script) const {
    auto told = std::make_shared<std::optional<QVariant>>();
    _web->page()->runJavaScript(script, QWebEngineScript::ApplicationWorld,
                                [told](const QVariant &answer) { *told = answer; });
    waitUntil([&] { return told->has_value(); }, "the page does not answer a script");
    return told->value();
}

bool RendererFixture::hasFocusInPage() const {
    return evaluated(QStringLiteral("document.activeElement !== document.body")).toBool();
}

QColor RendererFixture::pixel(QPoint place) const {
    const QPixmap shot = view.screen()->grabWindow(view.winId(), place.x(), place.y(), 1, 1);
    return shot.isNull() ? QColor() : shot.toImage().pixelColor(0, 0);
}

QImage RendererFixture::screen() const {
    return view.screen()->grabWindow(view.winId()).toImage();
}

QWidget *RendererFixture::target() const {
    return _browser ? _browser->viewport() : _web->focusProxy();
}

void waitUntil(const std::function<bool()> &happened, const char *otherwise) {
    QElapsedTimer clock;
    clock.start();
    while (!happened()) {
        if (clock.hasExpired(testPatience))
            qFatal("%s", otherwise);
        QTest::qWait(5);
    }
}

QString asLine(const RendererFixture::Question &question) {
    return QString::number(static_cast<int>(question.type)) + QLatin1Char(' ') + question.address;
}

}  // namespace pelorinnews::test
