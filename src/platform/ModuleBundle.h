#pragma once

#include <QString>

namespace pelorinnews::ModuleBundle {

/// The folder of the module's own file, not the host's. Symbolic links are resolved; null if the
/// system does not report it.
[[nodiscard]] QString folder();

/// The folder of the module's resources, found relative to `folder()`:
/// `<prefix>/share/pelorin-news`.
[[nodiscard]] QString resourceFolder();

}  // namespace pelorinnews::ModuleBundle
