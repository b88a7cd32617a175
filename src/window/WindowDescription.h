#pragma once

#include "OlvNewsWindow.h"

#include <QString>

#include <functional>
#include <map>
#include <memory>

namespace pelorinnews {

/// The window description: a form that Qt Designer edits, compiled into the module. (Read at run
/// time it would bring every Designer plug-in of the machine into the host, web engines included.)
///
/// Controls that act carry the dynamic property "action" with the name of an operation of the
/// window's owner; `load` connects them, so that no code sets a target. Controls are found by
/// their object names; one that is missing is simply absent.
namespace WindowDescription {

using Actions = std::map<QString, std::function<void()>>;

/// Makes the window that the description `name` tells of and connects its controls to `actions`;
/// names that `actions` lacks stay unconnected. Null for a name without a description. Main thread
/// only.
[[nodiscard]] std::unique_ptr<OlvNewsWindow> load(const QString &name, const Actions &actions);

}  // namespace WindowDescription

}  // namespace pelorinnews
