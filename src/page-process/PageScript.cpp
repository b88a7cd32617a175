#include "PageScript.h"

#include <QUuid>

namespace pelorinnews {

namespace {

// The listeners are added to the window, because named elements of a page can shadow the members of
// its document (DOM clobbering). They ignore events made by scripts, and mouse buttons other than
// left and middle. A middle click on a scroll bar is no `auxclick`.
constexpr auto reporter = R"((() => {
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
            console.info('%1click ' + address);
            return;
        }
        const [target] = event.composedPath();
        if (event.button === 1 && (target.isContentEditable ||
            target instanceof HTMLInputElement || target instanceof HTMLTextAreaElement))
            console.info('%1paste');
    };
    addEventListener('click', clicked, true);
    addEventListener('auxclick', clicked, true);
    // The engine begins a frame only when the earlier frames are on their way to the screen, so by
    // the fourth frame the page has been painted.
    const painted = frames => frames > 0 ? requestAnimationFrame(() => painted(frames - 1))
                                         : console.info('%1painted ' + location.href);
    if (window === top)
        painted(4);
})();)";

}  // namespace

PageScript::PageScript() : _secret(QUuid::createUuid().toString(QUuid::Id128) + QLatin1Char(' ')) {}

QWebEngineScript PageScript::script() const {
    QWebEngineScript script;
    script.setName(QStringLiteral("reports"));
    script.setSourceCode(QString::fromLatin1(reporter).arg(_secret));
    script.setInjectionPoint(QWebEngineScript::DocumentCreation);
    script.setWorldId(QWebEngineScript::ApplicationWorld);
    script.setRunsOnSubFrames(true);
    return script;
}

std::optional<QUrl> PageScript::addressOf(QLatin1String report, const QString &message) const {
    const QString beginning = _secret + report;
    if (!message.startsWith(beginning))
        return std::nullopt;
    return QUrl(message.mid(beginning.size()), QUrl::TolerantMode);
}

std::optional<QUrl> PageScript::clickedLink(const QString &consoleMessage) const {
    return addressOf(QLatin1String("click "), consoleMessage);
}

bool PageScript::isPaste(const QString &consoleMessage) const {
    return consoleMessage == _secret + QLatin1String("paste");
}

std::optional<QUrl> PageScript::paintedPage(const QString &consoleMessage) const {
    return addressOf(QLatin1String("painted "), consoleMessage);
}

}  // namespace pelorinnews
