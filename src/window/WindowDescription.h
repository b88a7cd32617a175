#pragma once

#include "OlvNewsWindow.h"

#include <QString>

#include <functional>
#include <map>
#include <memory>

namespace pelorinnews {

/// The window description: a Qt Designer form, compiled into the module. (Reading the form at run
/// time would load every Designer plug-in of the machine into the host, web engines included.)
///
/// A control's dynamic property "action" names an operation of the window's owner. `load` connects
/// the control to the operation; other code must not connect it again. Controls are found by object
/// name; any of them may be missing.
namespace WindowDescription {

using Actions = std::map<QString, std::function<void()>>;

/// Creates the window from the description `name` and connects its controls to `actions`. A control
/// whose action is not in `actions` stays unconnected. Null if there is no such description. Main
/// thread only.
[[nodiscard]] std::unique_ptr<OlvNewsWindow> load(const QString &name, const Actions &actions);

}  // namespace WindowDescription

}  // namespace pelorinnews
