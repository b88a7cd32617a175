#pragma once

#include <string_view>
#include <vector>

namespace pelorinnews {

/// Gives the memory that the code and the constants of libraries take in this process back to the
/// system, for libraries that are needed now and then and for a moment. Nothing is lost: the pages
/// stay in the system's file cache as long as it has room, and come back one by one when they are
/// next used, by this module or by the host.
///
/// Of each library whose file's name begins with one of `names`, and of this module itself, only
/// what no program can have changed is given back: pages that are not writable and, checked with
/// the kernel, not copied either (a debugger copies them). Does nothing where the kernel does not
/// tell. Callable from any thread, takes well under a millisecond.
void releaseLibraryPages(const std::vector<std::string_view> &names);

}  // namespace pelorinnews
