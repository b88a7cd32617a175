#pragma once

#include "HtmlReader.h"

namespace pelorinnews {

/// The attributes of an element that a text document may get: known ones, with values of a known
/// form within bounds. `element` is the written name. Excludes the attributes that number lists,
/// and `style`, `class`, `id`, `dir` and the `src` of pictures, which are handled elsewhere.
[[nodiscard]] HtmlAttributes boundedAttributes(const QString &element,
                                               const HtmlAttributes &attributes);

/// `value` with its numeric character references decoded, and those for HTML's own five characters
/// (&, <, >, quote and apostrophe). Others stay.
[[nodiscard]] QString withoutEntities(const QString &value);

}  // namespace pelorinnews
