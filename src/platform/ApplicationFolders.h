#pragma once

#include <QByteArray>

#include <vector>

namespace pelorinnews {

/// The folders in which people and packages put applications, by custom and by this process's
/// environment. Not all of them exist. Reads the environment: call it where that is safe.
[[nodiscard]] std::vector<QByteArray> applicationFolders();

}  // namespace pelorinnews
