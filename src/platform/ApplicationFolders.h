#pragma once

#include <QByteArray>

#include <vector>

namespace pelorinnews {

/// The folders where users and packages usually put applications, for this process's environment.
/// Not all of them exist. Reads the environment: call it where that is safe.
[[nodiscard]] std::vector<QByteArray> applicationFolders();

}  // namespace pelorinnews
