#pragma once

#include <QString>

namespace pelorinnews {

/// How an HTML element affects a page's text.
struct HtmlElement {
    /// The element that is written for it to a text document: itself, another one, or `div` for
    /// plain blocks. Empty if only its content is written.
    QString written;
    /// Its content is not text of the page, and is dropped.
    bool isDropped = false;
    /// Its content has no tags but its own end tag.
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
    /// Its text looks different, but in the same font.
    bool isOtherLook = false;
    /// It ends an open paragraph; what follows starts on a new line.
    bool isBlock = false;

    [[nodiscard]] bool isTablePart() const { return isCell || isRow || isRowGroup; }

    /// The element `name`, which is lower-case. For a name that HTML does not have, an element that
    /// adds nothing.
    static const HtmlElement &named(const QString &name);

    /// Whether this element, open as `name`, ends implicitly where `next` starts, because its end
    /// tag is optional.
    [[nodiscard]] bool endsBefore(const QString &name, const QString &nextName,
                                  const HtmlElement &next) const;
};

}  // namespace pelorinnews
