#pragma once

#include "EntryPattern.h"

#include <pelorinnews/HostIdentity.h>

#include <QString>

namespace pelorinnews {

/// The application that has loaded the module, as far as it can be told from inside: a value, read
/// anew by each `mainBundle()`.
///
/// What the host states goes first; everything else is found out. Call `mainBundle` on the main
/// thread, with the application object alive.
class HostBundle {
public:
    /// Keeps what the host states about itself, for the whole process and for every later
    /// `mainBundle()`. Callable from any thread.
    static void setIdentity(const HostIdentity &identity);

    /// What the host last stated; each field absent as long as it stated nothing.
    [[nodiscard]] static HostIdentity identity();

    [[nodiscard]] static HostBundle mainBundle();

    /// What names the host's folders, in reverse-domain form where the host has such a name. The
    /// first of these that can serve as the name of one folder (not empty, no slash, neither "."
    /// nor ".."):
    /// 1. the bundle identifier that the host states,
    /// 2. the identifier of the Flatpak sandbox it runs in,
    /// 3. its desktop file's name, without ".desktop",
    /// 4. its organisation's domain, reversed, and its application name ("com.olvane.Pelorin"),
    /// 5. its executable's file name.
    /// Null where there is none of them.
    [[nodiscard]] QString identifier() const { return bundleIdentifier; }

    /// The file or folder that is the application as it lies on disk (see `hostBundleLocation`);
    /// null where it cannot be told. Reads the disk, briefly. Callable from any thread.
    [[nodiscard]] QString location() const;

    /// The last component of the location, as it is on disk ("Pelorin.app"); null with it.
    [[nodiscard]] QString name() const;

    /// What a copy of the application is: an entry of this name (`*` and `?` in it are wildcards),
    /// and a program where the application is one executable. None where the name is null.
    [[nodiscard]] EntryPattern copies() const;

private:
    QString bundleIdentifier;
};

}  // namespace pelorinnews
