#pragma once

#include <QString>

namespace pelorinnews {

/// Escapes the text of a tooltip. It may come from a page, and Qt would read a text that looks like
/// HTML as HTML and open the pictures in it, even local files. Cuts a long text. Empty for an empty
/// text.
[[nodiscard]] inline QString plainToolTip(const QString &text) {
    constexpr qsizetype maxLength = 1000;
    return text.isEmpty() ? QString()
                          : QStringLiteral("<p style='white-space:pre-wrap'>%1</p>")
                                .arg(text.left(maxLength).toHtmlEscaped());
}

}  // namespace pelorinnews
