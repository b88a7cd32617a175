#pragma once

#include <QString>

/// What a page's elements mean for its text, by their names in small letters.
namespace pelorinnews::HtmlElements {

/// Its content is no text of the page.
[[nodiscard]] bool isDropped(const QString &name);
/// It never has content.
[[nodiscard]] bool isVoid(const QString &name);
/// It has no content and shows all the same.
[[nodiscard]] bool isShownVoid(const QString &name);
[[nodiscard]] bool isCell(const QString &name);
/// A paragraph left open ends before it; what follows stands on a line of its own.
[[nodiscard]] bool isBlock(const QString &name);
/// Whether `open` ends where `next` starts, its own end tag being optional.
[[nodiscard]] bool isImpliedEnd(const QString &open, const QString &next);

}  // namespace pelorinnews::HtmlElements
