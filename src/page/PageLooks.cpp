#include "PageLooks.h"

#include <QHash>

#include <utility>

namespace pelorinnews {

namespace {

constexpr qsizetype maxLooks = 1000;
constexpr qsizetype maxFonts = 48;

/// Adds `each` to `known` unless that would make more than `max` elements. True if `known` then
/// contains it.
bool tryAdd(QSet<size_t> &known, size_t each, qsizetype max) {
    if (known.contains(each))
        return true;
    if (known.size() >= max)
        return false;
    known.insert(each);
    return true;
}

template <typename Condition>
void removeAll(HtmlAttributes &attributes, Condition isRemoved) {
    attributes.removeIf([&](const auto &each) { return isRemoved(each.first); });
}

bool isOfFont(const QString &attribute) {
    return attribute == QLatin1String("face") || attribute == QLatin1String("size");
}

}  // namespace

void PageLooks::bound(OpenElement &element, HtmlAttributes &attributes, CssStyle &style) {
    boundFloat(element, attributes, style);
    const Stated stated = statedIn(attributes, style);
    boundFont(element, stated, attributes, style);
    boundLook(element, stated, attributes, style);
}

PageLooks::Stated PageLooks::statedIn(const HtmlAttributes &attributes, const CssStyle &style) {
    Stated stated{style.fontText(), style.text()};
    for (const auto &[name, value] : attributes) {
        const bool ofFont = isOfFont(name);
        if (ofFont || (name != QStringLiteral("href") && name != QStringLiteral("title")))
            (ofFont ? stated.font : stated.rest) += name + value + QLatin1Char(';');
    }
    return stated;
}

void PageLooks::boundFloat(const OpenElement &element, HtmlAttributes &attributes,
                           CssStyle &style) {
    if (element.role != OpenElement::Role::Table) {
        style.remove("float");
        return;
    }
    const QString align = valueOf(attributes, QLatin1String("align"));
    const bool floats =
        !style.value("float").isEmpty() || (!align.isEmpty() && align != QLatin1String("center"));
    if (!floats || tryAddFloat())
        return;
    style.remove("float");
    removeAll(attributes, [](const QString &name) { return name == QLatin1String("align"); });
}

void PageLooks::boundFont(OpenElement &element, const Stated &stated, HtmlAttributes &attributes,
                          CssStyle &style) {
    const bool otherFont = element.kind->isOtherFont && !element.written.isEmpty();
    if (!otherFont && stated.font.isEmpty())
        return;
    const size_t asked =
        qHashMulti(element.font, otherFont ? element.written : QString(), stated.font);
    if (!_limitsFonts || tryAdd(_fonts, asked, maxFonts)) {
        element.font = asked;
        return;
    }
    style.removeFont();
    removeAll(attributes, isOfFont);
    if (otherFont && element.role != OpenElement::Role::Cell)
        element.makePlain();
}

void PageLooks::boundLook(OpenElement &element, const Stated &stated, HtmlAttributes &attributes,
                          CssStyle &style) {
    const bool otherLook = !element.written.isEmpty() && !element.isPlain() &&
                           (element.kind->isOtherFont || element.kind->isOtherLook);
    if (!otherLook && stated.rest.isEmpty() && stated.font.isEmpty())
        return;
    const size_t asked =
        qHashMulti(element.look, otherLook ? element.written : QString(), stated.rest, stated.font);
    if (tryAdd(_looks, asked, maxLooks)) {
        element.look = asked;
        return;
    }
    style.clear();
    removeAll(attributes, [](const QString &name) {
        return name != QLatin1String("href") && name != QLatin1String("colspan") &&
               name != QLatin1String("rowspan");
    });
    if (otherLook && element.role != OpenElement::Role::Cell &&
        element.written != QStringLiteral("a"))
        element.makePlain();
}

}  // namespace pelorinnews
