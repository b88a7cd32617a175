#pragma once

#include <QString>

namespace pelorinnews {

/// The identity of the host application. Set it through `NewsPlugin::setHostIdentity` before
/// creating a controller. Each field may be absent (a null string); its comment names the fallback.
struct HostIdentity {
    /// The name of the host's desktop file, without ".desktop", in reverse-domain form:
    /// "com.Olvane.Pelorin". The folders of the feed's cache file and of the notification registry
    /// are named after it, and notifications carry it in their `desktop-entry` hint.
    ///
    /// If absent or not usable as a folder name, the first usable one of these applies: the Flatpak
    /// identifier, the application object's desktop file name, the reversed organisation domain
    /// followed by the application name, the executable's name.
    QString bundleIdentifier;
    /// Folder of the preferences file below the user's configuration folder: "Olvane".
    ///
    /// If absent: the application object's organisation name. If that is empty too, the file lies
    /// in the configuration folder itself and is named after the bundle identifier;
    /// `applicationName` then has no effect.
    QString organizationName;
    /// Name of the preferences file, without ".conf": "Pelorin". If absent: the application
    /// object's application name.
    QString applicationName;
};

}  // namespace pelorinnews
