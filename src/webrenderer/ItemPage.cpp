#include "ItemPage.h"

#include "BareHttpLinks.h"

#include <QWebEngineHistory>
#include <QWebEngineNewWindowRequest>
#include <QWebEngineScriptCollection>
#include <QWebEngineSettings>

namespace pelorinnews {

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
    scripts().insert(_clicks.script());

    connect(this, &QWebEnginePage::newWindowRequested, this,
            [this](const QWebEngineNewWindowRequest &request) {
                // A request that is not taken up opens nothing.
                if (request.isUserInitiated())
                    static_cast<void>(
                        allows(pelorinnews::NavigationType::LinkClicked, request.requestedUrl()));
            });
    // A mouse's back button must not lead to the item before, which is not served any more.
    connect(this, &QWebEnginePage::loadFinished, this, [this] {
        if (url() == _item)
            history()->clear();
    });
    connect(this, &QWebEnginePage::featurePermissionRequested, this,
            [this](const QUrl &origin, Feature feature) {
                setFeaturePermission(origin, feature, PermissionDeniedByUser);
            });
}

void ItemPage::showItem(const QUrl &address) {
    _item = address;
    load(address);
}

bool ItemPage::allows(pelorinnews::NavigationType type, const QUrl &url) {
    if (!_policy)
        return false;
    const QUrl address = rebasedOnBareHttp(url, _item);
    return _policy->webViewDecidePolicyForNavigationAction(type, address) ==
           NavigationDecision::Use;
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
    // Nothing is left to allow: the script has kept the engine from following the link.
    if (const auto link = _clicks.reported(message))
        static_cast<void>(allows(pelorinnews::NavigationType::LinkClicked, *link));
}

}  // namespace pelorinnews
