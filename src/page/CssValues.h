#pragma once

#include <QString>
#include <QStringList>

/// Values of style sheets, checked: each function gives what a text document may be handed, or an
/// empty text for a value that it may not. `value` is in small letters, without space around it.
namespace pelorinnews::CssValues {

/// The parts of a value, by its spaces outside of brackets and quotes; at most 16.
[[nodiscard]] QStringList parts(const QString &value);

/// A name, `#rgb`, `rgb(…)` and the like.
[[nodiscard]] QString color(const QString &value);
/// In whole pixels, from `least` to `most`.
[[nodiscard]] QString pixels(const QString &value, int least, int most);
[[nodiscard]] QString fontSize(const QString &value);
[[nodiscard]] QString fontWeight(const QString &value);
/// Takes capitals, too.
[[nodiscard]] QString fontFamily(const QString &value);
[[nodiscard]] QString lineHeight(const QString &value);
/// Width, style and colour of a line, in any order.
[[nodiscard]] QString border(const QString &value);
/// `value` if it is one of `allowed`, which are separated by spaces.
[[nodiscard]] QString keyword(const QString &value, const char *allowed);
/// The first of the value's parts that is one of `allowed`.
[[nodiscard]] QString keywordAmong(const QString &value, const char *allowed);

}  // namespace pelorinnews::CssValues
