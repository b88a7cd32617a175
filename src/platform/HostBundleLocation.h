#pragma once

#include <QString>

namespace pelorinnews {

/// What a running program reveals about its place on the disk. A value; absent fields are null.
struct HostProcess {
    /// The real path of the executable, without symbolic links.
    QString executable;
    /// The AppImage file and its mount point, from the environment. Child processes inherit both
    /// variables, so these may describe another program.
    QString appImage;
    QString appDir;

    static HostProcess current();
};

/// The file or folder that is the application on the disk:
/// - the AppImage file, if the program runs from one;
/// - the executable, if it is installed for the whole system (below `/usr`, in `/bin` and the like)
///   or in a sandbox (below `/app`). The executable's folder would not identify the application: it
///   is shared with other programs, or has the package's name, which many data folders also have;
/// - otherwise the executable's folder without a trailing `bin`, `libexec` or `lib...`, and then
///   without a trailing `usr`.
///
/// Null if the executable is unknown. Reads the disk, briefly.
[[nodiscard]] QString hostBundleLocation(const HostProcess &process);

}  // namespace pelorinnews
