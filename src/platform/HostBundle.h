#pragma once

#include "EntryPattern.h"

#include "pelorinnews/HostIdentity.h"

#include <QString>

namespace pelorinnews {

/// The application that has loaded the module, as far as it can be identified from inside its
/// process. A value; each call of `mainBundle()` detects it again.
///
/// What the host states takes precedence; the rest is detected. Call `mainBundle` on the main
/// thread, with the application object alive.
class HostBundle {
public:
    /// Stores what the host states about itself, for the whole process and for every later
    /// `mainBundle()`. Thread-safe.
    static void setIdentity(const HostIdentity &identity);

    /// What the host last stated; a field that it did not state is absent.
    [[nodiscard]] static HostIdentity identity();

    [[nodiscard]] static HostBundle mainBundle();

    /// The name of the host's folders, in reverse-domain form if the host has such a name. It is
    /// the first of these that can be the name of one folder (not empty, no slash, neither "." nor
    /// ".."):
    /// 1. the bundle identifier that the host states,
    /// 2. the identifier of the Flatpak sandbox it runs in,
    /// 3. its desktop file's name, without ".desktop",
    /// 4. its organisation's domain, reversed, and its application name ("com.olvane.Pelorin"),
    /// 5. its executable's file name.
    /// Null if there is none of them.
    [[nodiscard]] QString identifier() const { return _bundleIdentifier; }

    /// The file or folder that is the application on the disk (see `hostBundleLocation`); null if
    /// unknown. Reads the disk, briefly. Thread-safe.
    [[nodiscard]] QString location() const;

    /// The last component of the location, as on the disk ("Pelorin.app"); null if the location is
    /// unknown.
    [[nodiscard]] QString name() const;

    /// The pattern that copies of the application match: entries with the same name (`*` and `?` in
    /// it are wildcards). If the application is a single executable, only executable files match.
    /// Matches nothing if the name is null.
    [[nodiscard]] EntryPattern copies() const;

private:
    QString _bundleIdentifier;
};

}  // namespace pelorinnews
