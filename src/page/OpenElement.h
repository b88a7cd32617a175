#pragma once

#include "CssStyle.h"
#include "HtmlElements.h"
#include "HtmlReader.h"

#include <QString>

namespace pelorinnews {

/// An element of a page that has started and not ended yet: what is written for it, and what its
/// content inherits.
struct OpenElement {
    enum class Role { Plain, List, Table, Row, Cell };

    /// The name in the page; empty for an implied element, which has no tag in the page.
    QString name;
    /// What HTML defines for this kind of element; null only for the page itself, around all
    /// elements.
    const HtmlElement *kind = nullptr;
    /// The name in the document; empty if only the content is written.
    QString written;
    Role role = Role::Plain;
    /// `ltr` or `rtl`; empty if neither this element nor one around it states a direction.
    QString direction;
    /// Hashes that identify the look and the font of the element's text; see `PageLooks`.
    size_t look = 0;
    size_t font = 0;
    /// Index among the page's list items; -1 for other elements.
    int item = -1;
    /// By how many pixels margins make the element's lines narrower than the page or the table
    /// cell.
    int indent = 0;
    /// The page's line breaks are kept.
    bool preserved = false;

    /// Makes an element inside this one. Its `written` is still empty.
    [[nodiscard]] OpenElement child(const QString &childName) const;

    [[nodiscard]] bool isBlock() const;
    /// The written element does not change the look of its text.
    [[nodiscard]] bool isPlain() const;
    /// Replaces the written element by one that does not change the look of its text.
    void makePlain();

    /// Adds the margins in `style`, and the document's default margins of lists and quotations, to
    /// the indent. Removes margins from `style` that an inline element or a cell may not have, or
    /// that would make the indent exceed 240 pixels. `role` and `written` must be set before.
    void takeIndent(CssStyle &style);
    void takeDirection(const HtmlAttributes &attributes, const CssStyle &style);
    void takeWhiteSpace(const CssStyle &style);
};

}  // namespace pelorinnews
