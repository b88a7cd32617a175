#pragma once

#include "NetworkRequest.h"

namespace pelorinnews {

/// What a request for the file that `url` names comes to; its query is left aside. Blocks while the
/// file is read. Failures are those of `RegularFile::contents`: a file of more than `longest` bytes
/// is one, and so is what is no regular file.
[[nodiscard]] NetworkOutcome readLocalFile(QUrl url, qint64 longest);

}  // namespace pelorinnews
