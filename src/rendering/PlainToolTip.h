#pragma once

#include <QString>

namespace pelorinnews {

/// A tooltip's text, which may come from a page, as HTML that shows it as it is. Qt takes any text
/// that looks like HTML for HTML, and would open the pictures in it, local files included. Only
/// the beginning of a long text. Empty for an empty text.
[[nodiscard]] inline QString plainToolTip(const QString &text) {
    constexpr qsizetype longest = 1000;
    return text.isEmpty() ? QString()
                          : QStringLiteral("<p style='white-space:pre-wrap'>%1</p>")
                                .arg(text.left(longest).toHtmlEscaped());
}

}  // namespace pelorinnews
