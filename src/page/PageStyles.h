#pragma once

#include "CssStyle.h"
#include "HtmlReader.h"
#include "StyleSheet.h"

#include <QStringView>

#include <vector>

namespace pelorinnews {

class EmbeddedPictures;
class HtmlCost;

/// The styles that a page states for its elements: by its style sheet, by `style` attributes and by
/// the attribute `hidden`. Later ones in this list override earlier ones.
class PageStyles {
public:
    /// `pictures` and `cost` must outlive this object. Pictures that styles use are added to
    /// `pictures`.
    PageStyles(EmbeddedPictures &pictures, HtmlCost &cost);

    /// Adds the content of a `style` element; it applies to the elements after it.
    void addSheet(QStringView css);

    /// The style of the element `node` with the attributes `attributes`. `ancestors` are the
    /// elements around it, outermost first. A hidden element has the property `display` with the
    /// value `none`.
    [[nodiscard]] CssStyle styleOf(const HtmlNode &node, const HtmlAttributes &attributes,
                                   const std::vector<HtmlNode> &ancestors);

private:
    HtmlCost &_cost;
    StyleSheet _sheet;
    CssStyle::PictureNames _pictureNames;
};

}  // namespace pelorinnews
