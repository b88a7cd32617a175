#pragma once

#include <QString>

namespace pelorinnews::ModuleBundle {

/// The folder of the file that holds this code: the module's own, not the host's. With a trailing
/// symbolic link resolved; null where the system does not tell.
[[nodiscard]] QString folder();

/// Where the module's resources lie, relative to the folder above: `<prefix>/share/pelorin-news`.
[[nodiscard]] QString resourceFolder();

}  // namespace pelorinnews::ModuleBundle
