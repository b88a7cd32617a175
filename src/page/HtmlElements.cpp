#include "HtmlElements.h"

#include <QHash>
#include <QStringList>

namespace pelorinnews {

namespace {

QHash<QString, HtmlElement> allElements() {
    QHash<QString, HtmlElement> all;
    const auto each = [&all](const char *names, auto set) {
        for (const QString &name : QString::fromLatin1(names).split(QLatin1Char(' ')))
            set(all[name]);
    };
    each(
        "address article aside blockquote caption center dd details dir div dl dt fieldset "
        "figcaption figure footer form h1 h2 h3 h4 h5 h6 header hr legend li main menu nav ol "
        "optgroup option p pre section summary table td th tr ul",
        [](HtmlElement &element) {
            element.isBlock = true;
            element.written = QStringLiteral("div");
        });
    for (const QString &name :
         QStringLiteral("a address b big blockquote body center cite code dd dfn dl dt em font h1 "
                        "h2 h3 h4 h5 h6 hr i img kbd ol p pre s samp small span strike strong sub "
                        "sup table tbody td tfoot th thead tr tt u ul var")
             .split(QLatin1Char(' ')))
        all[name].written = name;
    each("abbr acronym bdo label mark q time",
         [](HtmlElement &element) { element.written = QStringLiteral("span"); });
    each("dir menu", [](HtmlElement &element) { element.written = QStringLiteral("ul"); });
    all[QStringLiteral("del")].written = QStringLiteral("s");
    all[QStringLiteral("ins")].written = QStringLiteral("u");
    each(
        "script iframe noframes noembed title template textarea select audio video svg math canvas",
        [](HtmlElement &element) { element.isDropped = element.isRawText = true; });
    all[QStringLiteral("style")].isRawText = true;
    each(
        "area base basefont br col embed frame hr img input keygen link meta param source track "
        "wbr",
        [](HtmlElement &element) { element.isVoid = true; });
    each("ul ol menu dir", [](HtmlElement &element) { element.isList = true; });
    each("td th", [](HtmlElement &element) { element.isCell = true; });
    each("tbody thead tfoot", [](HtmlElement &element) { element.isRowGroup = true; });
    each("tr", [](HtmlElement &element) { element.isRow = true; });
    each("dt dd", [](HtmlElement &element) { element.isDefinition = true; });
    each(
        "address b big cite code dfn em font h1 h2 h3 h4 h5 h6 i kbd pre samp small strong sub sup "
        "th tt var",
        [](HtmlElement &element) { element.isOtherFont = true; });
    each("a center del ins s strike u", [](HtmlElement &element) { element.isOtherLook = true; });
    return all;
}

}  // namespace

const HtmlElement &HtmlElement::named(const QString &name) {
    static const QHash<QString, HtmlElement> all = allElements();
    static const HtmlElement unknown;
    const auto found = all.constFind(name);
    return found == all.constEnd() ? unknown : *found;
}

bool HtmlElement::endsBefore(const QString &name, const QString &nextName,
                             const HtmlElement &next) const {
    if (isBlock && name == QStringLiteral("p"))
        return next.isBlock;
    if (isBlock && name == QStringLiteral("li"))
        return nextName == name;
    if (isDefinition)
        return next.isDefinition;
    if (isCell || (isBlock && name == QStringLiteral("caption")))
        return next.isTablePart();
    if (isRow)
        return next.isRow || next.isRowGroup;
    return isRowGroup && next.isRowGroup;
}

}  // namespace pelorinnews
