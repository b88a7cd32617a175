#include "ItemPage.h"

#include "PictureFit.h"
#include "page/BareHttpLinks.h"

#include <QAuthenticator>
#include <QWebEngineHistory>
#include <QWebEngineLoadingInfo>
#include <QWebEngineNewWindowRequest>
#include <QWebEngineScriptCollection>
#include <QWebEngineSettings>

#include <utility>

namespace pelorinnews {

namespace {

/// How long a page waits for style sheets from the web before it is painted without them.
constexpr std::chrono::seconds styleSheetTimeout{3};

}  // namespace

ItemPage::ItemPage(QWebEngineProfile *profile, QObject *parent) : QWebEnginePage(profile, parent) {
    QWebEngineSettings *engine = settings();
    for (const auto attribute : {
             QWebEngineSettings::JavascriptEnabled,
             QWebEngineSettings::JavascriptCanOpenWindows,
             QWebEngineSettings::JavascriptCanAccessClipboard,
             QWebEngineSettings::JavascriptCanPaste,
             QWebEngineSettings::LocalStorageEnabled,
             QWebEngineSettings::LocalContentCanAccessRemoteUrls,
             QWebEngineSettings::LocalContentCanAccessFileUrls,
             QWebEngineSettings::PluginsEnabled,
             QWebEngineSettings::PdfViewerEnabled,
             QWebEngineSettings::FullScreenSupportEnabled,
             QWebEngineSettings::ScreenCaptureEnabled,
             QWebEngineSettings::WebGLEnabled,
             QWebEngineSettings::AutoLoadIconsForPage,
             QWebEngineSettings::DnsPrefetchEnabled,
             QWebEngineSettings::HyperlinkAuditingEnabled,
             QWebEngineSettings::AllowRunningInsecureContent,
             QWebEngineSettings::AllowGeolocationOnInsecureOrigins,
             QWebEngineSettings::NavigateOnDropEnabled,
         })
        engine->setAttribute(attribute, false);
    engine->setAttribute(QWebEngineSettings::PlaybackRequiresUserGesture, true);
    engine->setUnknownUrlSchemePolicy(QWebEngineSettings::DisallowUnknownUrlSchemes);
    scripts().insert(_script.script());
    scripts().insert(pictureFit());

    connect(this, &QWebEnginePage::newWindowRequested, this,
            [this](const QWebEngineNewWindowRequest &request) {
                // Report the click only: without `openIn`, the request opens no window.
                if (request.isUserInitiated())
                    static_cast<void>(
                        allows(pelorinnews::NavigationType::LinkClicked, request.requestedUrl()));
            });
    connect(this, &QWebEnginePage::urlChanged, this, [this](const QUrl &shown) {
        if (shown == _item && !std::exchange(_itemHasCome, true))
            Q_EMIT itemCame();
    });
    connect(this, &QWebEnginePage::loadingChanged, this, [this](const QWebEngineLoadingInfo &info) {
        // A page that reloads itself again and again aborts its own loads.
        constexpr int aborted = -3;
        if (info.status() == QWebEngineLoadingInfo::LoadFailedStatus && info.url() == _item &&
            info.errorCode() != aborted)
            Q_EMIT itemFailed();
    });
    _styleSheetTimer.setInterval(styleSheetTimeout);
    connect(&_styleSheetTimer, &QTimer::timeout, this, [this] {
        runJavaScript(_script.skipLateStyleSheets(), QWebEngineScript::ApplicationWorld);
    });
    connect(this, &QWebEnginePage::loadStarted, this, [this] { _styleSheetTimer.start(); });
    // Before the item has come, this is the end of the previous page's load.
    connect(this, &QWebEnginePage::loadFinished, this, [this] {
        if (_itemHasCome)
            _styleSheetTimer.stop();
    });
    // A mouse's back button must not lead to the previous item, which is no longer served.
    connect(this, &QWebEnginePage::loadFinished, this, [this] {
        if (url() == _item)
            history()->clear();
    });
    // An authenticator left unchanged counts as an empty name and password, and the engine retries
    // again and again. A null one cancels.
    connect(this, &QWebEnginePage::authenticationRequired, this,
            [](const QUrl &, QAuthenticator *answer) { *answer = QAuthenticator(); });
    connect(
        this, &QWebEnginePage::proxyAuthenticationRequired, this,
        [](const QUrl &, QAuthenticator *answer, const QString &) { *answer = QAuthenticator(); });
    connect(this, &QWebEnginePage::featurePermissionRequested, this,
            [this](const QUrl &origin, Feature feature) {
                setFeaturePermission(origin, feature, PermissionDeniedByUser);
            });
}

void ItemPage::showItem(const QUrl &address) {
    if (_itemHasCome)
        _shown = _item;
    _item = address;
    _itemHasCome = false;
    load(address);
}

bool ItemPage::allows(pelorinnews::NavigationType type, const QUrl &url) {
    Q_EMIT navigationAsked(type, rebasedOnBareHttp(url, _itemHasCome ? _item : _shown));
    return type != pelorinnews::NavigationType::LinkClicked;
}

bool ItemPage::acceptNavigationRequest(const QUrl &url, NavigationType type, bool) {
    using Type = pelorinnews::NavigationType;
    switch (type) {
        case NavigationTypeLinkClicked:
            return allows(Type::LinkClicked, url);
        case NavigationTypeFormSubmitted:
            return allows(Type::FormSubmitted, url);
        case NavigationTypeBackForward:
            return allows(Type::BackForward, url);
        case NavigationTypeReload:
            return allows(Type::Reload, url);
        case NavigationTypeTyped:
            return true;
        case NavigationTypeRedirect:
        case NavigationTypeOther:
            return allows(Type::Other, url);
    }
    return false;
}

void ItemPage::javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString &message, int,
                                        const QString &) {
    // The report may come late and be about the previous page.
    if (_script.paintedPage(message) == _item)
        Q_EMIT itemPainted();
    if (_script.isPaste(message))
        Q_EMIT pasteAsked();
    // The answer does not matter: the script has already kept the engine from following the link.
    if (const auto link = _script.clickedLink(message))
        static_cast<void>(allows(pelorinnews::NavigationType::LinkClicked, *link));
    // Until the item has come, the links are those of the previous page.
    if (auto pointed = _script.pointedLink(message); pointed && _itemHasCome) {
        pointed->address = rebasedOnBareHttp(pointed->address, _item);
        Q_EMIT linkPointed(*pointed);
    }
}

}  // namespace pelorinnews
