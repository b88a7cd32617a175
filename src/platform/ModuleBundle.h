#pragma once

#include <QString>

namespace pelorinnews::ModuleBundle {

/// The folder of the module's own file, not the host's. Symbolic links are resolved; null if the
/// system does not report it.
[[nodiscard]] QString folder();

/// The folder of the module's resources, `<prefix>/share/pelorin-news`, found relative to
/// `folder()`, which may be `<prefix>/lib/pelorin` or, where libraries have a folder for each
/// architecture, `<prefix>/lib/x86_64-linux-gnu/pelorin`. Reads the disk, briefly.
[[nodiscard]] QString resourceFolder();

}  // namespace pelorinnews::ModuleBundle
