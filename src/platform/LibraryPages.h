#pragma once

#include <string_view>
#include <vector>

namespace pelorinnews {

/// Returns to the system the memory that libraries' code and constants take in this process. Meant
/// for libraries that are used rarely and briefly. Nothing is lost: the pages stay in the system's
/// file cache while it has room, and are loaded one by one when this module or the host next uses
/// them.
///
/// Covers each library whose file name begins with one of `names`, and this module itself. Releases
/// only pages that no program can have changed: they are not writable and, as checked with the
/// kernel, not copied either (a debugger copies them). A no-op if the kernel does not report that.
/// Thread-safe; takes well under a millisecond.
void releaseLibraryPages(const std::vector<std::string_view> &names);

}  // namespace pelorinnews
