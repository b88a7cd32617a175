#pragma once

#include <QString>
#include <QStringList>

/// Checks values of style sheets: each function returns the value in the form that a
/// `QTextDocument` may get, or an empty text for a value that the document may not get. `value` is
/// lower-case and trimmed.
namespace pelorinnews::CssValues {

/// Splits `value` at the spaces outside parentheses and quotes; returns at most the first 16 parts.
[[nodiscard]] QStringList parts(const QString &value);

/// A colour: a name, `#rgb`, `rgb(…)` or the like.
[[nodiscard]] QString color(const QString &value);
/// A length in whole pixels, clamped to the range from `min` to `max`.
[[nodiscard]] QString pixels(const QString &value, int min, int max);
[[nodiscard]] QString fontSize(const QString &value);
[[nodiscard]] QString fontWeight(const QString &value);
/// Unlike in the other functions, `value` may contain capitals; the result keeps them.
[[nodiscard]] QString fontFamily(const QString &value);
[[nodiscard]] QString lineHeight(const QString &value);
/// A value of the `border` shorthand: width, style and colour, in any order.
[[nodiscard]] QString border(const QString &value);
/// `value` if it is one of the words in `allowed`, which spaces separate.
[[nodiscard]] QString keyword(const QString &value, const char *allowed);
/// The first part of `value` that is one of the words in `allowed`.
[[nodiscard]] QString keywordAmong(const QString &value, const char *allowed);

}  // namespace pelorinnews::CssValues
