#pragma once

#include <QString>
#include <QStringList>

/// Checks values of style sheets: each function returns the value in the form that a text document
/// may get, or an empty text for a value that it may not get. `value` is lower-case and trimmed.
namespace pelorinnews::CssValues {

/// Splits a value at the spaces outside parentheses and quotes; at most 16 parts.
[[nodiscard]] QStringList parts(const QString &value);

/// A name, `#rgb`, `rgb(…)` and the like.
[[nodiscard]] QString color(const QString &value);
/// A length in whole pixels, clamped to the range from `least` to `most`.
[[nodiscard]] QString pixels(const QString &value, int least, int most);
[[nodiscard]] QString fontSize(const QString &value);
[[nodiscard]] QString fontWeight(const QString &value);
/// `value` may contain capitals.
[[nodiscard]] QString fontFamily(const QString &value);
[[nodiscard]] QString lineHeight(const QString &value);
/// Width, style and colour of a line, in any order.
[[nodiscard]] QString border(const QString &value);
/// `value` if it is one of `allowed`, which are separated by spaces.
[[nodiscard]] QString keyword(const QString &value, const char *allowed);
/// The first of the value's parts that is one of `allowed`.
[[nodiscard]] QString keywordAmong(const QString &value, const char *allowed);

}  // namespace pelorinnews::CssValues
