#include "HtmlAttributes.h"

#include "CssValues.h"
#include "HtmlElements.h"
#include "HtmlEntity.h"

#include <algorithm>
#include <array>

namespace pelorinnews {

namespace {

constexpr qsizetype maxAddressLength = 4096;
constexpr qsizetype maxTitleLength = 500;

/// A whole number of pixels from 0 to `max`, or, if `percent` is allowed, a percentage up to 100.
QString number(const QString &value, int max, bool percent) {
    qsizetype end = 0;
    while (end < value.size() && end < 9 && value[end].isDigit())
        ++end;
    if (end == 0)
        return {};
    const bool hundredths = value.mid(end).startsWith(QLatin1Char('%'));
    if (hundredths && !percent)
        return {};
    const int bounded = std::min(value.left(end).toInt(), hundredths ? 100 : max);
    return QString::number(bounded) + (hundredths ? QStringLiteral("%") : QString());
}

QString color(const QString &value) {
    const QString found = CssValues::color(value);
    if (!found.isEmpty() || value.size() != 6)
        return found;
    // Old pages omit the "#" before a hexadecimal colour.
    return CssValues::color(QLatin1Char('#') + value);
}

QString fontSize(const QString &value) {
    const bool relative = value.startsWith(QLatin1Char('+')) || value.startsWith(QLatin1Char('-'));
    const int size = std::clamp(value.left(3).toInt(), relative ? -6 : 1, 7);
    return (size > 0 && relative ? QStringLiteral("+") : QString()) + QString::number(size);
}

QString bounded(const QString &element, const QString &name, const QString &given) {
    const QString value = given.trimmed();
    const QString small = value.size() > 64 ? QString() : value.toLower();
    const bool cell = HtmlElement::named(element).isCell;
    const bool table = element == QStringLiteral("table");
    if (name == QStringLiteral("title"))
        return value.size() > maxTitleLength ? QString() : value;
    if (name == QStringLiteral("href"))
        return element == QStringLiteral("a") && value.size() <= maxAddressLength ? value
                                                                                  : QString();
    if (name == QStringLiteral("align"))
        return CssValues::keyword(small, "left right center justify");
    if (name == QStringLiteral("valign"))
        return CssValues::keyword(small, "top middle bottom");
    if (name == QStringLiteral("bgcolor"))
        return color(small);
    if (element == QStringLiteral("font")) {
        if (name == QStringLiteral("color"))
            return color(small);
        if (name == QStringLiteral("face"))
            return CssValues::fontFamily(value);
        if (name == QStringLiteral("size"))
            return fontSize(small);
    }
    if (name == QStringLiteral("width") && (table || cell || element == QStringLiteral("hr")))
        return number(small, 2000, true);
    if (table && name == QStringLiteral("border"))
        return value.isEmpty() ? QStringLiteral("1") : number(small, 20, false);
    if (table && (name == QStringLiteral("cellspacing") || name == QStringLiteral("cellpadding")))
        return number(small, 50, false);
    if (table && name == QStringLiteral("bordercolor"))
        return color(small);
    if (cell && (name == QStringLiteral("colspan") || name == QStringLiteral("rowspan")))
        return number(small, 100, false);
    return {};
}

}  // namespace

HtmlAttributes boundedAttributes(const QString &element, const HtmlAttributes &attributes) {
    HtmlAttributes kept;
    if (element.isEmpty())
        return kept;
    for (const auto &[name, value] : attributes) {
        const QString text = bounded(element, name, value);
        if (!text.isEmpty())
            kept.emplaceBack(name, text);
    }
    return kept;
}

QString withoutEntities(const QString &value) {
    QString text;
    const QStringView view(value);
    for (qsizetype at = 0; at < view.size();) {
        const qsizetype sign = view.indexOf(QLatin1Char('&'), at);
        text += view.sliced(at, (sign < 0 ? view.size() : sign) - at);
        if (sign < 0)
            break;
        const HtmlEntity entity = HtmlEntity::at(view.sliced(sign));
        text += entity.isKnown() ? entity.text : view.sliced(sign, entity.length).toString();
        at = sign + entity.length;
    }
    return text;
}

}  // namespace pelorinnews
