#pragma once

#include "HtmlReader.h"

namespace pelorinnews {

/// Those of an element's attributes that a text document may be handed: known ones, with values of
/// a known form within bounds. `element` is the name that is written. What counts lists, and
/// `style`, `class`, `id`, `dir` and pictures' `src`, is not among them: others deal with it.
[[nodiscard]] HtmlAttributes boundedAttributes(const QString &element,
                                               const HtmlAttributes &attributes);

/// The value with its character references replaced, as far as they are numbers or stand for the
/// five signs of HTML itself.
[[nodiscard]] QString withoutEntities(const QString &value);

}  // namespace pelorinnews
