#pragma once

#include <QString>

namespace pelorinnews {

/// Who the host is, stated through `NewsPlugin::setHostIdentity` before a controller is created.
/// Each field may be absent (a null text); what then takes its place is told beside it.
struct HostIdentity {
    /// The name of the host's desktop file, without ".desktop", in reverse-domain form:
    /// "com.Olvane.Pelorin". Names the folders of the feed's copy and of the notifications' list,
    /// and notifications bear it as their sender's desktop entry.
    ///
    /// Absent: the Flatpak's identifier, the desktop file's name that the application object bears,
    /// the organisation's domain, reversed, with the application's name, or the executable's name,
    /// whichever is there first.
    QString bundleIdentifier;
    /// Folder of the preferences file below the user's configuration folder: "Olvane".
    ///
    /// Absent: the application object's. Where that is empty too, the file lies in the
    /// configuration folder itself, by the name of the bundle identifier, and `applicationName`
    /// has no effect.
    QString organizationName;
    /// Name of the preferences file, without ".conf": "Pelorin". Absent: the application object's.
    QString applicationName;
};

}  // namespace pelorinnews
