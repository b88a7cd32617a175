#pragma once

#include <QString>

namespace pelorinnews {

/// What an element of a page means for its text.
struct HtmlElement {
    /// The element that stands for it in a text document: itself, or a `div` for the many that are
    /// blocks and no more. Empty for one that adds nothing to its content.
    QString written;
    /// Its content is no text of the page.
    bool isDropped = false;
    /// Nothing in it is a tag but its own end.
    bool isRawText = false;
    /// It never has content.
    bool isVoid = false;
    bool isList = false;
    bool isCell = false;
    /// `thead`, `tbody` and `tfoot`.
    bool isRowGroup = false;
    bool isRow = false;
    bool isDefinition = false;
    /// Its text has another size, weight, slant or family.
    bool isOtherFont = false;
    /// Its text looks otherwise without another font.
    bool isOtherLook = false;
    /// A paragraph left open ends before it; what follows stands on a line of its own.
    bool isBlock = false;

    [[nodiscard]] bool isTablePart() const { return isCell || isRow || isRowGroup; }

    /// The one with that name, in small letters; for a name that HTML does not have, one that adds
    /// nothing.
    static const HtmlElement &named(const QString &name);

    /// Whether this one, open under `name`, ends where `next` starts, its own end tag being
    /// optional.
    [[nodiscard]] bool endsBefore(const QString &name, const QString &nextName,
                                  const HtmlElement &next) const;
};

}  // namespace pelorinnews
