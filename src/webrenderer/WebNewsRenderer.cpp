#include "WebNewsRenderer.h"

#include "EngineView.h"
#include "ItemPage.h"
#include "ItemSchemeHandler.h"
#include "RequestFilter.h"

#include <QWebEngineDownloadRequest>
#include <QWebEngineProfile>
#include <QWebEngineSettings>

namespace pelorinnews {

WebNewsRenderer::WebNewsRenderer(QWidget *parent) : _view(new EngineView(parent)) {
    // Without a name a profile keeps nothing on disk. It must outlive its page, hence the order of
    // the deletions below.
    auto *profile = new QWebEngineProfile(_view);
    profile->setHttpCacheType(QWebEngineProfile::MemoryHttpCache);
    profile->setPersistentCookiesPolicy(QWebEngineProfile::NoPersistentCookies);
    profile->setSpellCheckEnabled(false);
    QObject::connect(profile, &QWebEngineProfile::downloadRequested, profile,
                     [](QWebEngineDownloadRequest *download) { download->cancel(); });
    profile->setUrlRequestInterceptor(new RequestFilter(profile));
    _handler = new ItemSchemeHandler(profile);
    profile->installUrlSchemeHandler(ItemSchemeHandler::scheme(), _handler);
    _page = new ItemPage(profile, profile);
    _page->setBackgroundColor(Qt::white);
    _view->setPage(_page);
    _view->setContextMenuPolicy(Qt::NoContextMenu);
}

WebNewsRenderer::~WebNewsRenderer() {
    delete _page;
    delete _view;
}

QWidget *WebNewsRenderer::widget() const {
    return _view;
}

void WebNewsRenderer::loadHtmlString(const QString &html) {
    _page->showItem(_handler->setPage(html));
}

void WebNewsRenderer::setStandardFontFamily(const QString &family) {
    _page->settings()->setFontFamily(QWebEngineSettings::StandardFont, family);
}

void WebNewsRenderer::setPolicyDelegate(NavigationPolicyDelegate *delegate) {
    _page->setPolicyDelegate(delegate);
}

}  // namespace pelorinnews
