#pragma once

#include "OlvNewsCacheItem.h"

#include <memory>

namespace pelorinnews {

/// A list that threads share and so never change; null if there is none.
using OlvNewsItemListRef = std::shared_ptr<const OlvNewsItemList>;

/// Makes a list shareable. If the main thread drops the last reference, a background thread
/// destroys the items, so that the main thread does not block.
[[nodiscard]] OlvNewsItemListRef shareItemList(std::shared_ptr<const OlvNewsItemList> items);

}  // namespace pelorinnews
