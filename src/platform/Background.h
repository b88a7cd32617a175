#pragma once

#include <memory>

namespace pelorinnews {

/// Releases `object` on a thread of its own, so that destroying something big does not block the
/// caller. Without an application object, or if the system has no thread left, releases it on the
/// calling thread. Thread-safe.
void releaseInBackground(std::shared_ptr<const void> object);

}  // namespace pelorinnews
