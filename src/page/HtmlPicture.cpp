#include "HtmlPicture.h"

#include "CssValues.h"
#include "HtmlAttributes.h"

#include <algorithm>

namespace pelorinnews {

namespace {

constexpr qsizetype maxAlternativeLength = 1000;
// In pixels.
constexpr int maxSide = 2000;

/// The width or height that `value` states, in pixels, as text and at most `maxSide`; empty if it
/// states none.
QString sideIn(const QString &value) {
    const int side = std::clamp(value.left(6).toInt(), 0, maxSide);
    return side > 0 ? QString::number(side) : QString();
}

}  // namespace

HtmlPicture::HtmlPicture(const HtmlAttributes &attributes, const CssStyle &style)
    : _attributes(attributes),
      _style(style),
      _alternative(
          valueOf(attributes, QLatin1String("alt")).simplified().left(maxAlternativeLength)) {}

QString HtmlPicture::address() const {
    return withoutEntities(valueOf(_attributes, QLatin1String("src"))).trimmed();
}

HtmlAttributes HtmlPicture::attributesFor(const QString &name) const {
    HtmlAttributes kept{{QStringLiteral("src"), name}};
    for (const char *side : {"width", "height"}) {
        const QString length = sideIn(valueOf(_attributes, QLatin1String(side)).trimmed());
        if (!length.isEmpty())
            kept.emplaceBack(QLatin1String(side), length);
    }
    if (!_alternative.isEmpty())
        kept.emplaceBack(QStringLiteral("alt"), _alternative);
    return kept;
}

CssStyle HtmlPicture::place() const {
    CssStyle place;
    for (const char *property : {"float", "vertical-align"}) {
        if (const QString value = _style.value(property); !value.isEmpty())
            place.set(property, value);
    }
    const QString align = valueOf(_attributes, QLatin1String("align")).trimmed().toLower();
    if (!CssValues::keyword(align, "left right").isEmpty())
        place.set("float", align);
    return place;
}

}  // namespace pelorinnews
