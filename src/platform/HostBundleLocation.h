#pragma once

#include <QString>

namespace pelorinnews {

/// What a running program shows of where it lies. A value; absent fields are null.
struct HostProcess {
    /// The real path of the executable, without symbolic links.
    QString executable;
    /// What the environment says of the AppImage file and of where its content is mounted. Programs
    /// hand both on to those they start, so they need not be about this one.
    QString appImage;
    QString appDir;

    static HostProcess current();
};

/// The file or folder that is the application as it lies on disk:
/// - the AppImage file, where the program runs from one;
/// - the executable, where it lies among those of the whole system (below `/usr`, in `/bin` and the
///   like) or of a sandbox (below `/app`): a folder there is shared, or bears the package's name,
///   as many folders of data do;
/// - else the executable's folder without a trailing `bin`, `libexec` or `lib...`, and then without
///   a trailing `usr`.
///
/// Null where the executable is not known. Reads the disk, briefly.
[[nodiscard]] QString hostBundleLocation(const HostProcess &process);

}  // namespace pelorinnews
