#pragma once

#include "NetworkRequest.h"

namespace pelorinnews {

/// What a request for the file that `url` names comes to; its query is left aside. Blocks while the
/// file is read. What is no regular file is an error and never opened: opening a pipe waits for its
/// other end, and opening a device can do anything. So is a file of more than `longest` bytes.
[[nodiscard]] NetworkOutcome readLocalFile(QUrl url, qint64 longest);

}  // namespace pelorinnews
