#pragma once

#include <QString>

namespace pelorinnews {

/// How an HTML element affects a page's text.
struct HtmlElement {
    /// The name of the element that replaces it in a page for a `QTextDocument`: its own name,
    /// another one, or `div` for plain blocks. Empty if only the element's content is written.
    QString written;
    /// The element's content is not text of the page, and is dropped.
    bool isDropped = false;
    /// The element's content is raw text: no tag in it counts but the element's own end tag.
    bool isRawText = false;
    /// The element never has content.
    bool isVoid = false;
    bool isList = false;
    bool isCell = false;
    /// `thead`, `tbody` and `tfoot`.
    bool isRowGroup = false;
    bool isRow = false;
    bool isDefinition = false;
    /// The element changes the size, weight, slant or family of its text's font.
    bool isOtherFont = false;
    /// The element changes the look of its text, but not the font.
    bool isOtherLook = false;
    /// The element ends an open paragraph, and its content starts on a new line.
    bool isBlock = false;

    [[nodiscard]] bool isTablePart() const { return isCell || isRow || isRowGroup; }

    /// The properties of the element `name`, which is lower-case. For an unknown name, all of them
    /// are false and `written` is empty.
    static const HtmlElement &named(const QString &name);

    /// Whether this element, whose name is `name`, ends implicitly where the element `next` starts,
    /// whose name is `nextName`, because the end tag of `name` is optional.
    [[nodiscard]] bool endsBefore(const QString &name, const QString &nextName,
                                  const HtmlElement &next) const;
};

}  // namespace pelorinnews
