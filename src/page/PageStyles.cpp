#include "PageStyles.h"

#include "EmbeddedPictures.h"
#include "HtmlAttributes.h"
#include "HtmlCost.h"

namespace pelorinnews {

namespace {

// A style attribute is read more than once; the cost counts each reading.
constexpr qsizetype readingsOfStyle = 8;

}  // namespace

PageStyles::PageStyles(EmbeddedPictures &pictures, HtmlCost &cost)
    : _cost(cost),
      _pictureNames([&pictures](const QString &address) { return pictures.nameOf(address); }) {}

void PageStyles::addSheet(QStringView css) {
    _sheet.add(css, _pictureNames);
}

CssStyle PageStyles::styleOf(const HtmlNode &node, const HtmlAttributes &attributes,
                             const std::vector<HtmlNode> &ancestors) {
    CssStyle style = _sheet.styleOf(node, ancestors);
    const QString own = valueOf(attributes, QLatin1String("style"));
    if (!own.isEmpty()) {
        _cost.addRead(readingsOfStyle * own.size());
        style.overlay(CssStyle::of(withoutEntities(own), _pictureNames));
    }
    if (!valueOf(attributes, QLatin1String("hidden")).isNull())
        style.set("display", QStringLiteral("none"));
    return style;
}

}  // namespace pelorinnews
