#include "PictureFit.h"

namespace pelorinnews {

namespace {

// Members of the document are taken from its prototype, because named elements of a page can shadow
// them (DOM clobbering). Only the first pictures are looked at: a page may have a million.
constexpr auto fitter = R"((() => {
    if (window !== top)
        return;
    const maxPictures = 1000;
    const inherited = name => Object.getOwnPropertyDescriptor(Document.prototype, name);
    const listen = EventTarget.prototype.addEventListener;
    const sheet = new CSSStyleSheet();
    const shrunk = new Map();
    let isAdopted = false;
    const selectorOf = element => {
        const steps = [];
        for (let node = element; node !== null; node = node.parentElement) {
            let place = 1;
            for (let other = node; (other = other.previousElementSibling) !== null;)
                ++place;
            steps.unshift(':nth-child(' + place + ')');
        }
        return steps.join('>');
    };
    const isMadeForScrolling = picture => {
        const style = getComputedStyle(picture);
        if (style.maxWidth !== 'none' || !['auto', '0px'].includes(style.minWidth))
            return true;
        for (let node = picture.parentElement; node !== null; node = node.parentElement) {
            const overflow = getComputedStyle(node).overflowX;
            if ((overflow === 'auto' || overflow === 'scroll') && node.parentElement !== null &&
                node.parentElement.parentElement !== null)
                return true;
        }
        return false;
    };
    const fit = () => {
        const root = inherited('documentElement').get.call(document);
        if (root === null)
            return;
        const before = shrunk.size;
        const pictures = Document.prototype.querySelectorAll.call(document, 'img');
        for (let index = 0; index < Math.min(pictures.length, maxPictures); ++index) {
            const picture = pictures[index];
            const place = picture.getBoundingClientRect();
            const isWide = place.right + scrollX > root.clientWidth || place.left + scrollX < 0;
            if (!isWide || place.width === 0 || place.height === 0 || shrunk.has(picture) ||
                isMadeForScrolling(picture))
                continue;
            shrunk.set(picture, selectorOf(picture) + '{max-width:100%!important;' +
                'height:auto!important;aspect-ratio:' + place.width + '/' + place.height + '}');
        }
        if (shrunk.size === before)
            return;
        sheet.replaceSync([...shrunk.values()].join('\n'));
        if (!isAdopted)
            inherited('adoptedStyleSheets').set.call(document, [sheet]);
        isAdopted = true;
    };
    // Until the whole document has been read, the places of elements may change.
    let isRead = false;
    const fitIfRead = () => { if (isRead) fit(); };
    listen.call(document, 'DOMContentLoaded', () => { isRead = true; fit(); });
    listen.call(document, 'load', fitIfRead, true);
    listen.call(window, 'load', fitIfRead);
    listen.call(window, 'resize', fitIfRead);
})();)";

}  // namespace

QWebEngineScript pictureFit() {
    QWebEngineScript script;
    script.setName(QStringLiteral("picture fit"));
    script.setSourceCode(QString::fromLatin1(fitter));
    script.setInjectionPoint(QWebEngineScript::DocumentCreation);
    script.setWorldId(QWebEngineScript::ApplicationWorld);
    return script;
}

}  // namespace pelorinnews
