#include "WebNewsRenderer.h"

#include "EngineView.h"
#include "ItemPage.h"
#include "ItemSchemeHandler.h"
#include "RequestFilter.h"
#include "platform/LibraryPages.h"

#include <QHideEvent>
#include <QVBoxLayout>
#include <QWebEngineCookieStore>
#include <QWebEngineDownloadRequest>
#include <QWebEngineProfile>
#include <QWebEngineSettings>

#include <utility>

namespace pelorinnews {

namespace {

/// How long a closed window keeps its page's process. If the window is opened again within this
/// time, the page appears at once; later, a new process has to start first.
constexpr std::chrono::seconds discardDelay{10};

/// Timeout for an item to appear. After it, the previous page counts as hanging, and the item is
/// loaded in a new process. Doubled with each retry, because the computer may just be busy.
constexpr std::chrono::milliseconds hangTimeout{1000};

// The widget around the view. Swallows keys that the page did not use, and starts the timer `rest`
// when the window is closed.
class Surround final : public QWidget {
public:
    Surround(QWidget *parent, QTimer &rest) : QWidget(parent), _rest(rest) {}

protected:
    void keyPressEvent(QKeyEvent *) override {}
    void keyReleaseEvent(QKeyEvent *) override {}
    void showEvent(QShowEvent *) override { _rest.stop(); }
    // A minimised window (a spontaneous hide) is out of sight, too, but still in use.
    void hideEvent(QHideEvent *event) override {
        if (!event->spontaneous())
            _rest.start();
    }

private:
    QTimer &_rest;
};

}  // namespace

WebNewsRenderer::WebNewsRenderer(QWidget *parent) : _surround(new Surround(parent, _discardTimer)) {
    auto *view = new EngineView(_surround);
    _view = view;
    auto *layout = new QVBoxLayout(_surround);
    layout->setContentsMargins({});
    layout->addWidget(view);
    // A profile without a name keeps nothing on disk. It must outlive its page, hence the order in
    // the destructor.
    auto *profile = new QWebEngineProfile(view);
    profile->setHttpCacheType(QWebEngineProfile::MemoryHttpCache);
    profile->setPersistentCookiesPolicy(QWebEngineProfile::NoPersistentCookies);
    profile->cookieStore()->setCookieFilter([](const auto &) { return false; });
    profile->setSpellCheckEnabled(false);
    QObject::connect(profile, &QWebEngineProfile::downloadRequested, profile,
                     [](QWebEngineDownloadRequest *download) { download->cancel(); });
    profile->setUrlRequestInterceptor(new RequestFilter(profile));
    _handler = new ItemSchemeHandler(profile);
    profile->installUrlSchemeHandler(ItemSchemeHandler::scheme(), _handler);
    _page = new ItemPage(profile, profile);
    _page->setBackgroundColor(Qt::white);
    view->setFocusPolicy(Qt::NoFocus);
    view->setPage(_page);
    view->setContextMenuPolicy(Qt::NoContextMenu);

    _hangTimer.setSingleShot(true);
    QObject::connect(&_hangTimer, &QTimer::timeout, _page, [this] { retryInNewProcess(); });
    _discardTimer.setSingleShot(true);
    _discardTimer.setInterval(discardDelay);
    QObject::connect(&_discardTimer, &QTimer::timeout, _page, [this] { discardPage(); });
    // Reload each item at most once after its process has died: the item may crash every process
    // that loads it.
    QObject::connect(
        _page, &QWebEnginePage::renderProcessTerminated, _page,
        [this](QWebEnginePage::RenderProcessTerminationStatus status) {
            if (status != QWebEnginePage::NormalTerminationStatus && !std::exchange(_revived, true))
                _page->showItem(_handler->moveToAnotherHost());
        });
}

WebNewsRenderer::~WebNewsRenderer() {
    delete _page;
    delete _surround;
}

void WebNewsRenderer::discardPage() {
    // Ends the page's process; a new one starts when the view is shown again.
    _page->setLifecycleState(QWebEnginePage::LifecycleState::Discarded);
    releaseLibraryPages({"libQt6WebEngineCore", "libQt6Quick", "libQt6Qml"});
}

QWidget *WebNewsRenderer::inputWidget() const {
    return _view ? _view->focusProxy() : nullptr;
}

void WebNewsRenderer::retryInNewProcess() {
    if (_page->itemHasCome())
        return;
    _hangTimer.start(_hangTimer.interval() * 2);
    _page->showItem(_handler->moveToAnotherHost());
}

void WebNewsRenderer::loadHtmlString(const QString &html) {
    _revived = false;
    _page->showItem(_handler->setPage(html));
    _hangTimer.start(hangTimeout);
}

void WebNewsRenderer::setStandardFontFamily(const QString &family) {
    _page->settings()->setFontFamily(QWebEngineSettings::StandardFont, family);
}

void WebNewsRenderer::setPolicyDelegate(NavigationPolicyDelegate *delegate) {
    _page->setPolicyDelegate(delegate);
}

}  // namespace pelorinnews
