#pragma once

#include "OlvNewsWindow.h"

#include <QString>

#include <functional>
#include <map>
#include <memory>

namespace pelorinnews {

/// The window description: a form that Qt Designer edits, from which the window is made.
///
/// Controls that act carry the dynamic property "action" with the name of an operation of the
/// window's owner; `load` connects them, so that no code sets a target. Controls are found by
/// their object names; one that is missing is simply absent.
class WindowDescription {
public:
    using Actions = std::map<QString, std::function<void()>>;

    /// `path` is a file or a resource.
    explicit WindowDescription(QString path) : _path(std::move(path)) {}

    /// Makes the window and connects its controls to `actions`; names that `actions` lacks stay
    /// unconnected. Null when the description is absent, malformed or describes something else
    /// than a news window. Main thread only.
    [[nodiscard]] std::unique_ptr<OlvNewsWindow> load(const Actions &actions) const;

private:
    QString _path;
};

}  // namespace pelorinnews
