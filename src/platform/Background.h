#pragma once

#include <memory>

namespace pelorinnews {

/// Releases `object` on a thread of Qt's global pool, so that destroying something big does not
/// block the caller. Without an application object, releases it on the calling thread.
void releaseInBackground(std::shared_ptr<const void> object);

}  // namespace pelorinnews
