#pragma once

#include <QByteArray>

#include <vector>

namespace pelorinnews {

/// The folders where users and packages usually put applications, including the user's home folder.
/// Not all of them exist. Reads `HOME`: no thread may change the environment meanwhile.
[[nodiscard]] std::vector<QByteArray> applicationFolders();

}  // namespace pelorinnews
