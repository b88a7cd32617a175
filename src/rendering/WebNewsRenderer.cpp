#include "WebNewsRenderer.h"

#include "StandardFont.h"
#include "platform/LibraryPages.h"

#include <QApplication>
#include <QFileInfo>
#include <QFocusEvent>
#include <QHideEvent>
#include <QNetworkProxy>
#include <QScreen>

#include <algorithm>
#include <unistd.h>
#include <utility>

namespace pelorinnews {

using namespace pageprotocol;

namespace {

using std::chrono::steady_clock;

/// Failures longer ago than this do not count.
constexpr std::chrono::minutes failureMemory{1};

/// How long an earlier page is held back after the window was opened, when the next may be loaded.
constexpr std::chrono::milliseconds holdTime{500};

/// How often to look whether the text renderer can be destroyed.
constexpr std::chrono::milliseconds replaceDelay{100};

/// Whether the installed page process speaks another protocol version, as after an upgrade under a
/// running host. Never reset: only a restart of the host helps.
bool isOtherVersionInstalled = false;

bool isDark(const QPalette &palette) {
    return palette.color(QPalette::Base).lightness() < palette.color(QPalette::Text).lightness();
}

// The proxy that the host has set for all its connections; empty if there is none, or if the
// system's is used. The engine finds that by itself; asking for it could block.
QUrl hostsProxy() {
    if (QNetworkProxyFactory::usesSystemConfiguration())
        return {};
    const QNetworkProxy proxy = QNetworkProxy::applicationProxy();
    QUrl address;
    if (proxy.type() == QNetworkProxy::HttpProxy || proxy.type() == QNetworkProxy::HttpCachingProxy)
        address.setScheme(QStringLiteral("http"));
    else if (proxy.type() == QNetworkProxy::Socks5Proxy)
        address.setScheme(QStringLiteral("socks5"));
    address.setHost(proxy.hostName());
    address.setPort(proxy.port());
    return StartArguments::isProxy(address) ? address : QUrl();
}

StartArguments startArguments(const QWidget &widget) {
    const double scale = std::clamp(widget.devicePixelRatioF(), minScale, maxScale);
    const QSize screen = (QSizeF(widget.screen()->geometry().size()) * scale).toSize();
    // A desktop without a monitor may report a screen of size 0.
    return {::getpid(), scale, screen.expandedTo({1, 1}).boundedTo({maxSide / 2, maxSide / 2}),
            isDark(widget.palette()), hostsProxy()};
}

}  // namespace

/// The widget around the page. Swallows keys that the page did not use.
class WebNewsRenderer::Surround final : public QWidget {
public:
    Surround(QWidget *parent, WebNewsRenderer &renderer) : QWidget(parent), _renderer(renderer) {}

protected:
    void keyPressEvent(QKeyEvent *) override {}
    void keyReleaseEvent(QKeyEvent *) override {}
    void resizeEvent(QResizeEvent *) override {
        for (QObject *each : children()) {
            if (auto *page = qobject_cast<QWidget *>(each); page && !page->isWindow())
                page->setGeometry(rect());
        }
    }
    // A minimised window is hidden (a spontaneous event), but still in use: it does not count as
    // closed.
    void showEvent(QShowEvent *event) override {
        if (!event->spontaneous())
            _renderer.opened();
    }
    void hideEvent(QHideEvent *event) override {
        if (!event->spontaneous())
            _renderer.closed();
    }
    void changeEvent(QEvent *event) override {
        QWidget::changeEvent(event);
        if (event->type() == QEvent::FontChange)
            _renderer.sendStyle();
    }

private:
    WebNewsRenderer &_renderer;
};

WebNewsRenderer::WebNewsRenderer(QWidget *parent, const QString &program)
    : WebNewsRenderer(parent, program, Limits()) {}

WebNewsRenderer::WebNewsRenderer(QWidget *parent, const QString &program, const Limits &limits)
    : _program(program),
      _limits(limits),
      _surround(new Surround(parent, *this)),
      _view(new PageWidget(_surround)) {
    const auto prepare = [this](QTimer &timer, std::chrono::milliseconds delay, auto slot) {
        timer.setSingleShot(true);
        timer.setInterval(delay);
        QObject::connect(&timer, &QTimer::timeout, _view, [this, slot] { (this->*slot)(); });
    };
    prepare(_readyTimer, limits.ready, &WebNewsRenderer::useText);
    prepare(_answerTimer, limits.answer, &WebNewsRenderer::answerIsMissing);
    prepare(_endTimer, limits.end, &WebNewsRenderer::endChild);
    prepare(_replaceTimer, replaceDelay, &WebNewsRenderer::replaceText);
    prepare(_holdTimer, holdTime, &WebNewsRenderer::showHeld);
    _discardTimer.setSingleShot(true);
    _discardTimer.setInterval(limits.discard);
    QObject::connect(&_discardTimer, &QTimer::timeout, _view, [this] {
        if (_child)
            _child->send(DiscardPage{});
        releaseLibraryPages({});
    });
    QObject::connect(&_view->input(), &PageInput::sent, _view, [this] { expectAnswer(); });
    // Queued, because the view emits these signals while it paints or handles another event.
    QObject::connect(
        _view, &PageWidget::surroundingsChanged, _view, [this] { surroundingsChanged(); },
        Qt::QueuedConnection);
    QObject::connect(
        _view, &PageWidget::framesFailed, _view, [this] { useText(); }, Qt::QueuedConnection);
    startChild();
}

WebNewsRenderer::~WebNewsRenderer() {
    _links = {};
    endChild();
    _text.reset();
    delete _surround;
}

QWidget *WebNewsRenderer::widget() const {
    return _surround;
}

QWidget *WebNewsRenderer::inputWidget() const {
    return _text ? _text->inputWidget() : _view;
}

void WebNewsRenderer::loadHtmlString(const QString &html, PageKind kind) {
    // If the same page is loaded again, frames of its previous load are still correct.
    const bool isSame = _page > 0 && html == _html && kind == _kind;
    _html = html;
    _kind = kind;
    if (!isSame)
        _view->waitForPage(_page + 1);
    // When the window opens, the engine may still paint the previous page: do not show that.
    if (!isSame && (_isClosed || _isStale))
        _view->clear();
    showHeld();
    showPage();
}

void WebNewsRenderer::showPage() {
    ++_page;
    forgetLinks();
    _view->input().beginPage();
    _view->setPlainColour(plainColour());
    if (_text)
        _text->loadHtmlString(_html, _kind);
    if (_child && hostsProxy() != _start.proxy)
        restartChild();
    else if (_child)
        sendPage();
}

void WebNewsRenderer::setStandardFontFamily(const QString &family) {
    _fontFamily = family;
    if (_text)
        _text->setStandardFontFamily(family);
    sendStyle();
}

void WebNewsRenderer::setZoom(int percent) {
    _zoom = percent;
    if (_text)
        _text->setZoom(percent);
    sendStyle();
}

void WebNewsRenderer::setPolicyDelegate(NavigationPolicyDelegate *delegate) {
    _policy = delegate;
    if (_text)
        _text->setPolicyDelegate(delegate);
}

void WebNewsRenderer::setLinkObserver(const LinkObserver &observer) {
    _links = observer;
    if (_text)
        _text->setLinkObserver(observer);
}

void WebNewsRenderer::reportLink(LinkPointer pointer, const PageLink &link) const {
    if (_links)
        _links(pointer, link);
}

void WebNewsRenderer::forgetLinks() const {
    reportLink(LinkPointer::Mouse, {});
    reportLink(LinkPointer::Focus, {});
}

void WebNewsRenderer::opened() {
    _isClosed = false;
    if (_isStale && !_text) {
        _view->holdFrames(true);
        _holdTimer.start();
    }
    _discardTimer.stop();
    _endTimer.stop();
    if (!_child && _text && !isOtherVersionInstalled && isProgramInstalled()) {
        _failures.clear();
        startChild();
    } else if (!_child && !_text) {
        startChild();
    }
    // A process that hangs since the window was closed would leave it blank.
    if (_child)
        expectAnswer();
}

bool WebNewsRenderer::isProgramInstalled() const {
    return QFileInfo(_program).isExecutable();
}

// Whoever opens the window usually loads another page then.
void WebNewsRenderer::showHeld() {
    _isStale = false;
    _holdTimer.stop();
    _view->holdFrames(false);
}

void WebNewsRenderer::closed() {
    _isClosed = true;
    _isStale = true;
    _view->clear();
    _discardTimer.start();
    _endTimer.start();
}

void WebNewsRenderer::surroundingsChanged() {
    _view->setPlainColour(plainColour());
    if (!_child)
        return;
    if (startArguments(*_view) != _start)
        restartChild();
    else if (_kind == PageKind::Status && statusStyle() != _sentStatusStyle)
        showPage();
}

QColor WebNewsRenderer::plainColour() const {
    return _kind == PageKind::Item ? QColor(Qt::white) : _surround->palette().color(QPalette::Base);
}

// Status texts have the colours of the desktop.
QString WebNewsRenderer::statusStyle() const {
    const QPalette &palette = _surround->palette();
    return QStringLiteral("<style>html{background:%1;color:%2}</style>")
        .arg(palette.color(QPalette::Base).name(), palette.color(QPalette::Text).name());
}

void WebNewsRenderer::startChild() {
    _isReady = false;
    _start = startArguments(*_view);
    if (!isOtherVersionInstalled)
        _child = PageChild::start(_program, _start,
                                  [this](const ChildMessage &message) { receive(message); });
    if (!_child) {
        useText();
        return;
    }
    QObject::connect(_child.get(), &PageChild::ended, _view, [this] { childEnded(); });
    _readyTimer.start();
    sendStyle();
    if (_page > 0)
        sendPage();
    // If `sendPage` has failed, the child is gone.
    if (!_child)
        return;
    _view->setChild(_child.get());
    // Below the text renderer, if that is in use: it stays until the page is painted.
    _view->lower();
    _view->show();
}

void WebNewsRenderer::endChild() {
    _readyTimer.stop();
    _answerTimer.stop();
    _isAsked = false;
    _lastPong = _lastPing;
    _paintedPage = 0;
    _loadedPage = 0;
    _view->setChild(nullptr);
    _child.reset();
    forgetLinks();
}

void WebNewsRenderer::restartChild() {
    endChild();
    // While the window is closed, its next opening starts the child.
    if (!_isClosed)
        startChild();
}

void WebNewsRenderer::sendStyle() {
    // The host may have set any time.
    const auto time = [](int set) { return std::clamp(set, 0, PageStyle::maxTime); };
    if (_child)
        _child->send(PageStyle{standardFontPixels(), _zoom,
                               time(QApplication::doubleClickInterval()),
                               time(QApplication::cursorFlashTime()), _fontFamily});
}

void WebNewsRenderer::sendPage() {
    QString text = _html;
    if (_kind == PageKind::Status) {
        _sentStatusStyle = statusStyle();
        text.prepend(_sentStatusStyle);
    }
    SharedMemory::SealedText memory;
    // In UTF-8, a text has at least as many bytes as it has UTF-16 units.
    if (text.size() <= maxPageBytes)
        memory = SharedMemory::createSealedText(text);
    if (!memory.file.isValid() || memory.bytes > maxPageBytes) {
        useText();
        return;
    }
    _child->send(ShowPage{_page, static_cast<qint32>(memory.bytes)}, std::move(memory.file));
    expectAnswer();
}

void WebNewsRenderer::expectAnswer() {
    if (_isReady && !_answerTimer.isActive())
        _answerTimer.start();
}

void WebNewsRenderer::answerIsMissing() {
    if (!_child)
        return;
    if (std::exchange(_isAsked, true)) {
        childEnded();
        return;
    }
    _child->send(Ping{++_lastPing});
    _answerTimer.start();
}

void WebNewsRenderer::answerCame() {
    _isAsked = false;
    _answerTimer.stop();
}

void WebNewsRenderer::childEnded() {
    isOtherVersionInstalled = isOtherVersionInstalled || (_child && _child->isOtherVersion());
    endChild();
    const auto now = steady_clock::now();
    _failures.removeIf([now](auto each) { return now - each > failureMemory; });
    _failures.append(now);
    // An engine that lacks its sandbox or its files ends before it is ready, at every start: do not
    // retry.
    if (!_wasEverReady || _failures.size() >= _limits.failures)
        useText();
    else if (!_isClosed)
        startChild();
}

void WebNewsRenderer::useText() {
    endChild();
    _view->hide();
    if (_text)
        return;
    _text = std::make_unique<TextNewsRenderer>(_surround);
    _text->setPolicyDelegate(_policy);
    _text->setLinkObserver(_links);
    _text->setZoom(_zoom);
    if (!_fontFamily.isEmpty())
        _text->setStandardFontFamily(_fontFamily);
    if (_page > 0)
        _text->loadHtmlString(_html, _kind);
    _text->setGeometry(_surround->rect());
    _text->show();
    QFocusEvent focus(QEvent::FocusIn, Qt::OtherFocusReason);
    if (_view->isFocused())
        QCoreApplication::sendEvent(_text.get(), &focus);
}

// Once the process has painted the page.
void WebNewsRenderer::replaceText() {
    if (!_text || !_view->isVisible() || _view->shownPage() != _page)
        return;
    // The user drags the text, or the host shows a dialog for a clicked link: in an event loop that
    // runs within the text's event handler.
    if (_text->isHandlingEvent()) {
        _replaceTimer.start();
        return;
    }
    _text.reset();
    forgetLinks();
    _view->sendPresentFocus();
}

void WebNewsRenderer::receive(const ChildMessage &message) {
    if (!std::visit([this](const auto &each) { return handle(each); }, message))
        childEnded();
}

bool WebNewsRenderer::handle(const Ready &) {
    _isReady = true;
    _wasEverReady = true;
    _readyTimer.stop();
    // A page may have been sent before the process was ready: start to wait for the answer now.
    expectAnswer();
    return true;
}

bool WebNewsRenderer::handle(const PageCame &message) {
    answerCame();
    return message.page <= _page;
}

bool WebNewsRenderer::handle(const PageLoaded &message) {
    _loadedPage = message.page;
    return message.page <= _page;
}

bool WebNewsRenderer::handle(const Navigation &message) {
    if (message.page != _page || !_policy)
        return message.page <= _page;
    const auto type = static_cast<NavigationType>(message.type);
    // A process that a page has taken control of could report clicks that the user did not make.
    if (type == NavigationType::LinkClicked && !_view->input().takeAction())
        return true;
    _policy->webViewDecidePolicyForNavigationAction(type, QUrl(message.text));
    return true;
}

bool WebNewsRenderer::handle(const LinkPointed &message) {
    if (message.page == _page && !_text)
        reportLink(
            message.isFocus ? LinkPointer::Focus : LinkPointer::Mouse,
            {QUrl(message.address()), QRect(message.x, message.y, message.width, message.height),
             message.ownText().simplified()});
    return message.page <= _page;
}

bool WebNewsRenderer::handle(const Pong &message) {
    answerCame();
    return _lastPong < _lastPing && message.number == ++_lastPong;
}

bool WebNewsRenderer::handle(const PasteAsked &message) {
    if (message.page == _page)
        _view->input().pasteSelection();
    return message.page <= _page;
}

bool WebNewsRenderer::handle(const FrameReady &message) {
    if (message.page > _page || !_view->handle(message))
        return false;
    if (message.surface == 0)
        _paintedPage = message.page;
    replaceText();
    return true;
}

}  // namespace pelorinnews
