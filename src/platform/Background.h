#pragma once

#include <memory>

namespace pelorinnews {

/// Lets go of `object` on a thread of Qt's global pool, so that destroying something big does not
/// keep the caller waiting. Where there is no application object (any more), lets go of it here.
void releaseInBackground(std::shared_ptr<const void> object);

}  // namespace pelorinnews
