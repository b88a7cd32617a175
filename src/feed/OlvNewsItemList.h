#pragma once

#include "OlvNewsCacheItem.h"

#include <memory>

namespace pelorinnews {

/// A list that is stored and shared between threads: never changed again, absent when null.
using OlvNewsItemListRef = std::shared_ptr<const OlvNewsItemList>;

/// Makes a list shareable. Whoever lets go of it last does not pay for the destruction of its
/// items where that is the main thread: a background thread does it.
[[nodiscard]] OlvNewsItemListRef shareItemList(std::shared_ptr<const OlvNewsItemList> items);

}  // namespace pelorinnews
