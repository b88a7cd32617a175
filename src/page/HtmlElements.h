#pragma once

#include <QString>

namespace pelorinnews {

/// How an HTML element affects a page's text.
struct HtmlElement {
    /// The name under which the element is written in a page for a `QTextDocument`: its own name,
    /// another one, or `div` for plain blocks. Empty if only the element's content is written.
    QString written;
    /// The element's content is not text of the page, and is dropped.
    bool isDropped = false;
    /// The element's content is raw text: no tag but the element's own end tag is recognised in it.
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

    /// Whether the start tag of the element `next` (named `nextName`) implies the end tag of this
    /// element (named `name`), as a `li` does for the `li` before it.
    [[nodiscard]] bool endsBefore(const QString &name, const QString &nextName,
                                  const HtmlElement &next) const;
};

}  // namespace pelorinnews
