#pragma once

#include <QString>

namespace pelorinnews {

/// What the guide for editors says about the finding `name`, as plain text that ends in a line
/// feed. Null if there is no such finding.
[[nodiscard]] QString explanationOf(const QString &name);

}  // namespace pelorinnews
