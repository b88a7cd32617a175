#pragma once

#include "CssStyle.h"
#include "HtmlReader.h"

#include <QString>

namespace pelorinnews {

/// An `img` element of a page, reduced to what a text document may get: the picture's size, its
/// alternative text and its place in the line.
class HtmlPicture {
public:
    /// `attributes` and `style` are the page's own, and must outlive this object.
    HtmlPicture(const HtmlAttributes &attributes, const CssStyle &style);

    /// The picture's address, with its character references decoded.
    [[nodiscard]] QString address() const;

    /// The alternative text, its character references not decoded; at most 1000 characters.
    [[nodiscard]] const QString &alternative() const { return _alternative; }

    /// The attributes to write; `name` is the document's name for the picture.
    [[nodiscard]] HtmlAttributes attributesFor(const QString &name) const;

    /// The declarations to write: `float` and `vertical-align`, if the page states them.
    [[nodiscard]] CssStyle place() const;

private:
    const HtmlAttributes &_attributes;
    const CssStyle &_style;
    QString _alternative;
};

}  // namespace pelorinnews
