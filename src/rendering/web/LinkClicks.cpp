#include "LinkClicks.h"

#include <QUuid>

namespace pelorinnews {

namespace {

// The listeners are added to the window, because named elements of a page can shadow the members of
// its document (DOM clobbering). They ignore events made by scripts, and mouse buttons other than
// left and middle.
constexpr auto listener = R"((() => {
    const xlink = 'http://www.w3.org/1999/xlink';
    const addressOf = node => {
        if (node instanceof HTMLAnchorElement || node instanceof HTMLAreaElement)
            return node.hasAttribute('href') ? node.href : null;
        if (!(node instanceof SVGAElement))
            return null;
        const link = node.getAttribute('href') ?? node.getAttributeNS(xlink, 'href');
        if (link === null)
            return null;
        try {
            return new URL(link, node.baseURI).href;
        } catch {
            return link;
        }
    };
    const clicked = event => {
        if (!event.isTrusted || event.button > 1)
            return;
        for (const node of event.composedPath()) {
            const address = addressOf(node);
            if (address === null)
                continue;
            event.preventDefault();
            event.stopImmediatePropagation();
            console.info('%1' + address);
            return;
        }
    };
    addEventListener('click', clicked, true);
    addEventListener('auxclick', clicked, true);
})();)";

}  // namespace

LinkClicks::LinkClicks() : _secret(QUuid::createUuid().toString(QUuid::Id128) + QLatin1Char(' ')) {}

QWebEngineScript LinkClicks::script() const {
    QWebEngineScript script;
    script.setName(QStringLiteral("link clicks"));
    script.setSourceCode(QString::fromLatin1(listener).arg(_secret));
    script.setInjectionPoint(QWebEngineScript::DocumentCreation);
    script.setWorldId(QWebEngineScript::ApplicationWorld);
    script.setRunsOnSubFrames(true);
    return script;
}

std::optional<QUrl> LinkClicks::reported(const QString &consoleMessage) const {
    if (!consoleMessage.startsWith(_secret))
        return std::nullopt;
    return QUrl(consoleMessage.mid(_secret.size()), QUrl::TolerantMode);
}

}  // namespace pelorinnews
