#pragma once

#include <QString>
#include <QStringList>

namespace pelorinnews {

/// What a running program shows of where it lies. A value; absent fields are null.
struct HostProcess {
    /// The real path of the executable, without symbolic links.
    QString executable;
    /// What the environment says of the AppImage file and of where its content is mounted. Programs
    /// hand both on to those they start, so they need not be about this one.
    QString appImage;
    QString appDir;
    /// Names under which the program may be installed, without ".desktop", best first.
    QStringList desktopFileNames;
    /// The folders of installed desktop files, best first.
    QStringList desktopFileFolders;

    /// This process, with the given names before its executable's own.
    static HostProcess current(const QStringList &desktopFileNames);
};

/// The file or folder that is the application as it lies on disk:
/// - the AppImage file, where the program runs from one;
/// - else the executable's folder without a trailing `bin`, `libexec` or `lib...`, and then without
///   a trailing `usr`;
/// - where that is a folder of the whole system (`/`, `/usr`, `/usr/local`), the installed desktop
///   file, or the executable where there is none.
///
/// Null where the executable is not known. Reads the disk, briefly.
[[nodiscard]] QString hostBundleLocation(const HostProcess &process);

}  // namespace pelorinnews
