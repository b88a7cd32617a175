#pragma once

#include "HtmlReader.h"

namespace pelorinnews {

/// Reduces an element's attributes to those that a `QTextDocument` may get: known attributes, with
/// values of a known form within bounds. `element` is the element's name in the rewritten page.
/// Drops list attributes such as `start`, and `style`, `class`, `id`, `dir` and the `src` of
/// images, which are handled elsewhere.
[[nodiscard]] HtmlAttributes boundedAttributes(const QString &element,
                                               const HtmlAttributes &attributes);

/// Decodes only those character references in `value` that are numeric or that name one of the five
/// characters &, <, >, quote and apostrophe. Other named references stay.
[[nodiscard]] QString withoutEntities(const QString &value);

}  // namespace pelorinnews
