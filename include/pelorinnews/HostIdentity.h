#pragma once

#include <QString>

namespace pelorinnews {

/// Who the host is, stated through `NewsPlugin::setHostIdentity` before a controller is created.
/// Each field may be absent (a null text); the module then finds out for itself as far as it can.
struct HostIdentity {
    /// Names the host's data folder and file cache, in reverse-domain form: "com.Olvane.Pelorin".
    QString bundleIdentifier;
    /// Folder of the preferences file below the user's configuration folder: "Olvane".
    QString organizationName;
    /// Name of the preferences file, without ".conf": "Pelorin".
    QString applicationName;
};

}  // namespace pelorinnews
