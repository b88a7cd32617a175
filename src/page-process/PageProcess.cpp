#include "PageProcess.h"

#include "FieldState.h"
#include "InputEvents.h"
#include "RequestFilter.h"
#include "platform/LibraryPages.h"

#include <QApplication>
#include <QClipboard>
#include <QInputMethod>
#include <QWebEngineCookieStore>
#include <QWebEngineDownloadRequest>
#include <QWebEngineSettings>
#include <QWindow>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <type_traits>
#include <utility>

namespace pelorinnews {

namespace {

using namespace pageprotocol;

/// Timeout for an item to appear. After it, the previous page counts as hanging, and the item is
/// loaded in a new engine process. Doubled with each retry, because the computer may just be busy.
constexpr std::chrono::milliseconds hangTimeout{1000};

/// Size of the fixed-width font relative to the standard font, as in all browsers.
constexpr double fixedFontRatio = 13.0 / 16;

/// A page that was visible for this long counts as painted even if `PageScript` has not reported
/// it.
constexpr std::chrono::seconds paintTimeout{5};

/// An engine that lacks a thread or some memory may paint nothing, ever, although it answers. A new
/// process helps.
constexpr std::chrono::seconds blankTimeout{20};

/// How long Qt may take to paint a frame that the engine has finished.
constexpr std::chrono::milliseconds paintDelay{30};

/// Maximum of `_heldInput`: more than a user types before a page is painted.
constexpr size_t maxHeld = 1000;

template <class Message>
constexpr bool isKeyboardInput =
    std::is_same_v<Message, KeyInput> || std::is_same_v<Message, FocusInput> ||
    std::is_same_v<Message, CommitText> || std::is_same_v<Message, PreeditText> ||
    std::is_same_v<Message, ClipboardText>;

}  // namespace

PageProcess::PageProcess(FileDescriptor socket)
    : _handler(&_profile),
      _page(&_profile, nullptr),
      _popups(_view),
      _cursor(_view),
      _socket(std::move(socket), MessageSocket::Descriptors::Accept,
              [this](const RawMessage &datagram, FileDescriptor descriptor) {
                  return receive(datagram, std::move(descriptor));
              }) {
    prepareProfile();
    _page.setBackgroundColor(Qt::white);
    _view.setPage(&_page);
    _view.setContextMenuPolicy(Qt::NoContextMenu);
    _view.setWindowFlags(Qt::FramelessWindowHint);
    _view.move(0, 0);
    addSurface(_view, 0);
    listenToPage();
    listenToDesktop();
    prepareTimers();
    connect(&_socket, &MessageSocket::closed, this, [] { QCoreApplication::quit(); });
    send(Ready{});
}

void PageProcess::prepareProfile() {
    // A profile without a name keeps nothing on disk.
    _profile.setHttpCacheType(QWebEngineProfile::MemoryHttpCache);
    _profile.setPersistentCookiesPolicy(QWebEngineProfile::NoPersistentCookies);
    _profile.cookieStore()->setCookieFilter([](const auto &) { return false; });
    _profile.setSpellCheckEnabled(false);
    connect(&_profile, &QWebEngineProfile::downloadRequested, this,
            [](QWebEngineDownloadRequest *download) { download->cancel(); });
    _profile.setUrlRequestInterceptor(new RequestFilter(&_profile));
    _profile.installUrlSchemeHandler(ItemSchemeHandler::scheme(), &_handler);
}

void PageProcess::listenToPage() {
    connect(&_page, &ItemPage::itemCame, this, [this] {
        _hangTimer.stop();
        // Until the new page is painted, the engine still shows the previous one.
        if (!std::exchange(_showsEarlierContent, true))
            _shownNumber = _number;
        expectPaint();
        // The engine stores the zoom factor per URL host, and this page may be on a new host.
        _page.setZoomFactor(_zoom);
        send(PageCame{_number});
    });
    connect(&_page, &ItemPage::loadFinished, this, [this] {
        // Before the page has come, this is the end of the previous page's load.
        if (_number > 0 && _page.itemHasCome())
            send(PageLoaded{_number});
    });
    connect(&_page, &ItemPage::itemPainted, this, [this] {
        _hasReported = true;
        if (!_isPainted)
            _paintTimer.start();
    });
    // Until the page is painted, the click may have been meant for the previous one.
    connect(&_page, &ItemPage::pasteAsked, this, [this] {
        if (_isPainted)
            send(PasteAsked{_number});
    });
    connect(&_page, &ItemPage::navigationAsked, this, [this](NavigationType type, const QUrl &url) {
        if (_number > 0)
            send(Navigation{_number, static_cast<qint32>(type), url.toString(QUrl::FullyEncoded)});
    });
    connect(&_page, &ItemPage::linkPointed, this, &PageProcess::reportLink);
    connect(&_page, &QWebEnginePage::selectionChanged, this,
            [this] { send(Selection{_page.selectedText()}); });
    // Reload each item at most once after its process has died: the item may crash every process
    // that loads it.
    connect(&_page, &QWebEnginePage::renderProcessTerminated, this,
            [this](QWebEnginePage::RenderProcessTerminationStatus status) {
                if (status != QWebEnginePage::NormalTerminationStatus &&
                    !std::exchange(_isRevived, true))
                    _page.showItem(_handler.moveToAnotherHost());
            });
    // An item is in this process's memory: if it cannot be loaded, the engine lacks something.
    connect(&_page, &ItemPage::itemFailed, this, [this] {
        if (std::exchange(_isRevived, true))
            std::_Exit(EXIT_FAILURE);
        _page.showItem(_handler.moveToAnotherHost());
    });
    connect(&_view, &EngineView::focusLeft, this,
            [this](bool isForward) { send(FocusLeft{isForward ? 1 : 0}); });
}

// Listens to what the engine would normally tell a desktop: copied text, focus, tooltips, mouse
// cursor, pop-ups, input method.
void PageProcess::listenToDesktop() {
    connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, this, [this] {
        if (!_isPasting)
            send(CopiedText{QGuiApplication::clipboard()->text()});
    });
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, &PageProcess::keepFocus,
            Qt::QueuedConnection);
    _view.installEventFilter(this);
    connect(&_cursor, &CursorWatch::changed, this, [this](int shape) { send(CursorShape{shape}); });
    connect(&_popups, &PopupWindows::shown, this, &PageProcess::showPopup);
    connect(&_popups, &PopupWindows::hidden, this, &PageProcess::hidePopup);
    connect(QGuiApplication::inputMethod(), &QInputMethod::cursorRectangleChanged, this,
            [this] { _inputStateTimer.start(); });
}

void PageProcess::prepareTimers() {
    _hangTimer.setSingleShot(true);
    connect(&_hangTimer, &QTimer::timeout, this, [this] { retryInNewProcess(); });
    for (QTimer *timer : {&_paintTimer, &_paintLimit}) {
        timer->setSingleShot(true);
        connect(timer, &QTimer::timeout, this, &PageProcess::pagePainted);
    }
    _paintTimer.setInterval(paintDelay);
    _paintLimit.setInterval(paintTimeout);
    _blankLimit.setSingleShot(true);
    _blankLimit.setInterval(blankTimeout);
    connect(&_blankLimit, &QTimer::timeout, this, &PageProcess::checkPicture);
    _inputStateTimer.setSingleShot(true);
    _inputStateTimer.setInterval(0);
    connect(&_inputStateTimer, &QTimer::timeout, this, &PageProcess::reportInputState);
}

template <class Message>
void PageProcess::send(const Message &message) {
    _socket.send(encoded<ChildMessage>(message));
}

bool PageProcess::receive(const RawMessage &datagram, FileDescriptor descriptor) {
    const auto message = _reader.read(datagram, descriptor.isValid());
    if (!message)
        return !_reader.isViolated();
    return std::visit(
        [&](const auto &each) {
            using Message = std::decay_t<decltype(each)>;
            if (std::is_same_v<Message, Hello> == _isGreeted)
                return false;
            // The engine loses keys that come while it replaces one page by another.
            if (isKeyboardInput<Message> && _number > 0 && !_isPainted) {
                if (_heldInput.size() < maxHeld)
                    _heldInput.emplace_back(each);
                return true;
            }
            return handle(each, descriptor);
        },
        *message);
}

bool PageProcess::handle(const Hello &message, const Descriptor &) {
    _isGreeted = true;
    return message.protocol == version;
}

bool PageProcess::handle(const ShowPage &message, const Descriptor &memory) {
    const auto html = SharedMemory::map(memory, message.bytes, SharedMemory::Access::Read);
    if (!html || message.page <= _number)
        return false;
    _number = message.page;
    _isPainted = false;
    // Keys were meant for the previous page.
    std::erase_if(_heldInput, [](const HostMessage &held) {
        return !std::holds_alternative<FocusInput>(held);
    });
    _isRevived = false;
    _page.showItem(
        _handler.setPage(QByteArray(reinterpret_cast<const char *>(html->data()), html->size())));
    _hangTimer.start(hangTimeout);
    _paintTimer.stop();
    _paintLimit.stop();
    expectFirstPaint();
    return true;
}

bool PageProcess::handle(const PageStyle &message, const Descriptor &) {
    QWebEngineSettings *settings = _page.settings();
    if (!message.text.isEmpty())
        settings->setFontFamily(QWebEngineSettings::StandardFont, message.text);
    settings->setFontSize(QWebEngineSettings::DefaultFontSize, message.fontSize);
    settings->setFontSize(QWebEngineSettings::DefaultFixedFontSize,
                          qRound(message.fontSize * fixedFontRatio));
    QApplication::setDoubleClickInterval(message.doubleClick);
    QApplication::setCursorFlashTime(message.cursorFlash);
    _zoom = message.zoom / 100.0;
    _page.setZoomFactor(_zoom);
    return true;
}

bool PageProcess::handle(const SurfaceBuffer &message, const Descriptor &memory) {
    const auto surface = _surfaces.find(message.surface);
    // A pop-up may have closed meanwhile.
    return surface == _surfaces.end() ? message.surface > 0
                                      : surface->second->addBuffer(message, memory);
}

bool PageProcess::handle(const FrameTaken &message, const Descriptor &) {
    const auto surface = _surfaces.find(message.surface);
    // A pop-up may have closed meanwhile.
    return surface == _surfaces.end() ? message.surface > 0 : surface->second->frameTaken(message);
}

bool PageProcess::handle(const ViewPlace &message, const Descriptor &) {
    _view.move(message.x, message.y);
    return true;
}

bool PageProcess::handle(const Visibility &message, const Descriptor &) {
    _view.setVisible(message.isVisible != 0);
    if (message.isVisible)
        expectFirstPaint();
    else
        _blankLimit.stop();
    if (!message.isVisible)
        _paintLimit.stop();
    // The engine loads a page again that was discarded, and does not report that.
    else if (_number > 0 && !_isPainted && !_hangTimer.isActive() && !_paintLimit.isActive())
        expectPaint();
    return true;
}

bool PageProcess::handle(const DiscardPage &, const Descriptor &) {
    // Ends the engine's process for the page; a new one starts when the view is shown again.
    _shownNumber = 0;
    _isPainted = false;
    _paintTimer.stop();
    _paintLimit.stop();
    _showsEarlierContent = false;
    _page.setLifecycleState(QWebEnginePage::LifecycleState::Discarded);
    releaseLibraryPages({"libQt6WebEngineCore", "libQt6Quick", "libQt6Qml"});
    return true;
}

bool PageProcess::handle(const MouseInput &message, const Descriptor &) {
    _cursor.pointerMoved();
    if (QWidget *window = windowOf(message.surface))
        InputEvents::deliver(*window, message);
    return true;
}

bool PageProcess::handle(const WheelInput &message, const Descriptor &) {
    if (QWidget *window = windowOf(message.surface))
        InputEvents::deliver(*window, message);
    return true;
}

bool PageProcess::handle(const KeyInput &message, const Descriptor &) {
    InputEvents::deliver(_view, message);
    return true;
}

bool PageProcess::handle(const FocusInput &message, const Descriptor &) {
    _focus = message;
    InputEvents::deliver(_view, message);
    return true;
}

// Qt's offscreen platform gives the focus to each window that is shown, and nobody gives it back
// after a dialog.
void PageProcess::keepFocus() {
    if ((QGuiApplication::focusWindow() != nullptr) != (_focus.hasFocus != 0))
        InputEvents::deliver(_view, FocusInput{_focus.hasFocus, Qt::ActiveWindowFocusReason});
}

bool PageProcess::handle(const CommitText &message, const Descriptor &) {
    InputEvents::deliver(message);
    return true;
}

bool PageProcess::handle(const PreeditText &message, const Descriptor &) {
    InputEvents::deliver(message);
    return true;
}

bool PageProcess::handle(const ClipboardText &message, const Descriptor &) {
    _isPasting = true;
    QGuiApplication::clipboard()->setText(message.text);
    _isPasting = false;
    return true;
}

bool PageProcess::handle(const DropText &message, const Descriptor &) {
    InputEvents::deliver(_view, message);
    return true;
}

bool PageProcess::handle(const DismissPopup &message, const Descriptor &) {
    if (QWidget *window = windowOf(message.surface))
        window->close();
    return true;
}

bool PageProcess::handle(const Ping &message, const Descriptor &) {
    send(Pong{message.number});
    return true;
}

QWidget *PageProcess::windowOf(qint32 surface) const {
    const auto found = _surfaces.find(surface);
    return found == _surfaces.end() ? nullptr : &found->second->window();
}

void PageProcess::addSurface(QWidget &window, qint32 number) {
    auto surface = std::make_unique<Surface>(window, number);
    connect(surface.get(), &Surface::framePainted, this,
            [this, number](qint32 generation, qint32 buffer) {
                send(FrameReady{number, generation, buffer, _shownNumber});
                // Check the input state after each frame of the page: the page is painted when a
                // form field gets or loses the focus.
                if (number == 0)
                    _inputStateTimer.start();
            });
    _surfaces.insert_or_assign(number, std::move(surface));
}

// The engine paints nothing while the page is hidden.
void PageProcess::expectPaint() {
    if (_view.isVisible())
        _paintLimit.start();
}

// Nothing is painted before there is a page.
void PageProcess::expectFirstPaint() {
    if (!_hasPicture && _number > 0 && _view.isVisible() && !_blankLimit.isActive())
        _blankLimit.start();
}

// A page that has not reported may yet be there, and one that has may be empty.
void PageProcess::checkPicture() {
    _hasPicture = !_surfaces.at(0)->isBlank();
    if (_hasPicture)
        return;
    if (!_hasReported)
        std::_Exit(EXIT_FAILURE);
    _page.toPlainText([this](const QString &text) {
        if (_view.isVisible() && !text.trimmed().isEmpty() && _surfaces.at(0)->isBlank())
            std::_Exit(EXIT_FAILURE);
    });
}

void PageProcess::pagePainted() {
    _paintTimer.stop();
    _paintLimit.stop();
    _isPainted = true;
    _shownNumber = _number;
    _surfaces.at(0)->sendAgain();
    for (const HostMessage &held : std::exchange(_heldInput, {}))
        std::visit([this](const auto &each) { handle(each, {}); }, held);
}

bool PageProcess::eventFilter(QObject *, QEvent *event) {
    if (event->type() == QEvent::ToolTipChange)
        send(ToolTip{_view.toolTip()});
    return false;
}

qint32 PageProcess::surfaceOf(const QWidget *window) const {
    const auto isIts = [window](const auto &each) { return &each.second->window() == window; };
    const auto found = std::find_if(_surfaces.begin(), _surfaces.end(), isIts);
    return found == _surfaces.end() ? -1 : found->first;
}

void PageProcess::showPopup(QWidget *popup, const QRect &place) {
    qint32 number = surfaceOf(popup);
    if (number < 0) {
        number = 1;
        while (_surfaces.contains(number))
            ++number;
        if (number > maxSurface)
            return;
        addSurface(*popup, number);
    }
    send(PopupShown{number, place.x(), place.y(), place.width(), place.height()});
}

void PageProcess::hidePopup(const QWidget *popup) {
    const qint32 number = surfaceOf(popup);
    if (number < 0)
        return;
    send(PopupHidden{number});
    _surfaces.erase(number);
}

void PageProcess::retryInNewProcess() {
    if (_page.itemHasCome())
        return;
    _hangTimer.start(_hangTimer.interval() * 2);
    _page.showItem(_handler.moveToAnotherHost());
}

void PageProcess::reportLink(const PageScript::Pointed &link) {
    const auto pixels = [this](double length, double least) {
        return static_cast<qint32>(std::clamp<double>(std::round(length * _zoom), least, maxSide));
    };
    QString address = link.address.toString(QUrl::FullyEncoded);
    if (address.size() > maxLink)
        address.clear();
    LinkPointed &last = _links.at(link.isFocus ? 1 : 0);
    LinkPointed message{_number,
                        link.isFocus ? 1 : 0,
                        pixels(link.place.x(), -maxSide),
                        pixels(link.place.y(), -maxSide),
                        pixels(link.place.width(), 0),
                        pixels(link.place.height(), 0),
                        address.isEmpty() ? QString() : address + QLatin1Char('\n') + link.text};
    if (last.numbers() == message.numbers() && last.text == message.text)
        return;
    last = message;
    send(message);
}

void PageProcess::reportInputState() {
    InputState state = currentFieldState();
    if (state.numbers() == _inputState.numbers() && state.text == _inputState.text)
        return;
    _inputState = state;
    send(state);
}

}  // namespace pelorinnews
