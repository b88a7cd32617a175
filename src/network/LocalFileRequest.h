#pragma once

#include "NetworkRequest.h"

namespace pelorinnews {

/// Reads the file that `url` names, without regard to the query, and returns the outcome of the
/// request. Blocks while it reads. Fails with `TransportError::BadAddress` for a file of another
/// computer, otherwise with the errors of `RegularFile::contents`; a file of more than `maxBody`
/// bytes and anything but a regular file are errors.
[[nodiscard]] NetworkOutcome readLocalFile(QUrl url, qint64 maxBody);

}  // namespace pelorinnews
