#include "PageScript.h"

#include "pageprotocol/PageProtocol.h"

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
    const linkIn = event => {
        for (const node of event.composedPath()) {
            const address = addressOf(node);
            if (address !== null)
                return {node, address};
        }
        return null;
    };
    const clicked = event => {
        if (!event.isTrusted || event.button > 1)
            return;
        const link = linkIn(event);
        if (link !== null) {
            event.preventDefault();
            event.stopImmediatePropagation();
            console.info('%1click ' + link.address);
            return;
        }
        const [target] = event.composedPath();
        if (event.button === 1 && (target.isContentEditable ||
            target instanceof HTMLInputElement || target instanceof HTMLTextAreaElement))
            console.info('%1paste');
    };
    addEventListener('click', clicked, true);
    addEventListener('auxclick', clicked, true);
    const textOf = node => {
        const text = node.getAttribute('aria-label') || (node.innerText ?? node.textContent).trim();
        return (text || node.alt || node.querySelector('img')?.alt || '')
            .replace(/\s+/g, ' ').trim().slice(0, %2);
    };
    // Within another frame, the place in the page is not known.
    const pointed = (kind, link) => {
        const place = link !== null && window === top ? link.node.getBoundingClientRect()
                                                      : new DOMRect();
        const numbers = [place.x, place.y, place.width, place.height].map(Math.round);
        const text = link !== null && kind === 'focus' ? textOf(link.node) : '';
        console.info('%1' + kind + ' ' + numbers.join(' ') + ' ' + text + '\n' +
                     (link?.address ?? ''));
    };
    let hovered = null;
    let focused = null;
    // The pointer comes to every element that it crosses, most of them no links.
    const hover = link => {
        if (link?.node === hovered?.node)
            return;
        hovered = link;
        pointed('hover', link);
    };
    addEventListener('mouseover', event => hover(linkIn(event)), true);
    addEventListener('mouseout', event => {
        if (event.relatedTarget === null)
            hover(null);
    }, true);
    addEventListener('focusin', event => {
        // A click focuses a link, too, but who clicks has seen the address before.
        const link = event.composedPath()[0].matches?.(':focus-visible') ? linkIn(event) : null;
        focused = link;
        // The engine scrolls to the link after this event.
        requestAnimationFrame(() => {
            if (focused === link)
                pointed('focus', link);
        });
    }, true);
    addEventListener('focusout', () => {
        focused = null;
        pointed('focus', null);
    }, true);
    // The engine paints nothing that follows a link to a style sheet until the style sheet has come,
    // and nothing at all if the link is in the head. Timers do not run in a page without scripts, so
    // the page process says when one is late: it then counts as one for another medium, for which
    // the engine does not wait, until it comes. One that is imported is given up.
    const settled = new WeakSet();
    for (const end of ['load', 'error'])
        EventTarget.prototype.addEventListener.call(
            document, end, event => settled.add(event.target), true);
    const isImport = rule => rule instanceof CSSImportRule;
    const setAside = element => {
        if (element instanceof HTMLStyleElement) {
            const rules = [...element.sheet?.cssRules ?? []];
            if (rules.some(isImport))
                element.textContent =
                    rules.filter(rule => !isImport(rule)).map(rule => rule.cssText).join('\n');
        } else if (element.sheet !== null) {
            element.disabled = true;
        } else {
            const {media} = element;
            element.media = 'not all';
            element.addEventListener('load', () => element.media = media, {once: true});
        }
    };
    addEventListener('%1late', () => {
        const sheets = Document.prototype.querySelectorAll.call(document,
                                                                'link[rel~=stylesheet i],style');
        for (const element of sheets) {
            if (!settled.has(element) &&
                (element instanceof HTMLLinkElement || element instanceof HTMLStyleElement)) {
                settled.add(element);
                setAside(element);
            }
        }
    });
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
    script.setSourceCode(
        QString::fromLatin1(reporter).arg(_secret, QString::number(pageprotocol::maxLinkText)));
    script.setInjectionPoint(QWebEngineScript::DocumentCreation);
    script.setWorldId(QWebEngineScript::ApplicationWorld);
    script.setRunsOnSubFrames(true);
    return script;
}

QString PageScript::skipLateStyleSheets() const {
    return QStringLiteral("dispatchEvent(new Event('%1late'))").arg(_secret);
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

std::optional<PageScript::Pointed> PageScript::pointedLink(const QString &consoleMessage) const {
    const bool isFocus = consoleMessage.startsWith(_secret + QLatin1String("focus "));
    if (!isFocus && !consoleMessage.startsWith(_secret + QLatin1String("hover ")))
        return std::nullopt;
    constexpr int numbersBegin = 2;
    constexpr int textBegins = numbersBegin + 4;
    const QString texts = consoleMessage.section(QLatin1Char(' '), textBegins);
    const QString address = texts.section(QLatin1Char('\n'), 1);
    const auto number = [&consoleMessage](int index) {
        return consoleMessage.section(QLatin1Char(' '), numbersBegin + index, numbersBegin + index)
            .toDouble();
    };
    return Pointed{isFocus, QRectF(number(0), number(1), number(2), number(3)),
                   QUrl(address, QUrl::TolerantMode), texts.section(QLatin1Char('\n'), 0, 0)};
}

std::optional<QUrl> PageScript::paintedPage(const QString &consoleMessage) const {
    return addressOf(QLatin1String("painted "), consoleMessage);
}

}  // namespace pelorinnews
