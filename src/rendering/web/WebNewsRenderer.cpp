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

/// A window that was closed for this long has probably been read. Until then it opens again at
/// once; afterwards a page's process has to be started first.
constexpr int restMilliseconds = 10'000;

/// How long an item may take to come before the page before is taken for hanging. Twice as long
/// with each attempt: a busy computer takes its time, too.
constexpr int lateMilliseconds = 1000;

// Keys that a page had no use for come here, and end here. Starts the rest when it is closed.
class Surround final : public QWidget {
public:
    Surround(QWidget *parent, QTimer &rest) : QWidget(parent), _rest(rest) {}

protected:
    void keyPressEvent(QKeyEvent *) override {}
    void keyReleaseEvent(QKeyEvent *) override {}
    void showEvent(QShowEvent *) override { _rest.stop(); }
    // The page of a minimised window is out of sight, too, but not done with.
    void hideEvent(QHideEvent *event) override {
        if (!event->spontaneous())
            _rest.start();
    }

private:
    QTimer &_rest;
};

}  // namespace

WebNewsRenderer::WebNewsRenderer(QWidget *parent) : _surround(new Surround(parent, _rest)) {
    auto *view = new EngineView(_surround);
    _view = view;
    auto *layout = new QVBoxLayout(_surround);
    layout->setContentsMargins({});
    layout->addWidget(view);
    // Without a name a profile keeps nothing on disk. It must outlive its page, hence the order of
    // the deletions below.
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

    _late.setSingleShot(true);
    QObject::connect(&_late, &QTimer::timeout, _page, [this] { loadLateItemElsewhere(); });
    _rest.setSingleShot(true);
    _rest.setInterval(restMilliseconds);
    QObject::connect(&_rest, &QTimer::timeout, _page, [this] { rest(); });
    // Once for each item: one that ends every process is not worth more.
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

void WebNewsRenderer::rest() {
    // Ends the page's process; it starts anew with the view's next showing.
    _page->setLifecycleState(QWebEnginePage::LifecycleState::Discarded);
    releaseLibraryPages({"libQt6WebEngineCore", "libQt6Quick", "libQt6Qml"});
}

QWidget *WebNewsRenderer::inputWidget() const {
    return _view ? _view->focusProxy() : nullptr;
}

void WebNewsRenderer::loadLateItemElsewhere() {
    if (_page->itemHasCome())
        return;
    _late.start(_late.interval() * 2);
    _page->showItem(_handler->moveToAnotherHost());
}

void WebNewsRenderer::loadHtmlString(const QString &html) {
    _revived = false;
    _page->showItem(_handler->setPage(html));
    _late.start(lateMilliseconds);
}

void WebNewsRenderer::setStandardFontFamily(const QString &family) {
    _page->settings()->setFontFamily(QWebEngineSettings::StandardFont, family);
}

void WebNewsRenderer::setPolicyDelegate(NavigationPolicyDelegate *delegate) {
    _page->setPolicyDelegate(delegate);
}

}  // namespace pelorinnews
