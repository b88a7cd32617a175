#pragma once

#include "FeedInspector.h"
#include "Finding.h"

#include <QString>

#include <vector>

namespace pelorinnews {

/// Judges an item's page by what the panel's renderers make of it, with the panel's own reader of
/// HTML. Equal findings are reported once, at their first
/// place in the page; at most a thousand for one page.
[[nodiscard]] std::vector<Finding> judgePage(const QString &html, const InspectedElement &element);

/// Whether `text` has HTML tags, or character references that were escaped twice.
[[nodiscard]] bool looksLikeHtml(const QString &text);

}  // namespace pelorinnews
