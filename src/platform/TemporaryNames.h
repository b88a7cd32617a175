#pragma once

#include <QByteArray>

/// Names for temporary files in the same folder as a file that is being replaced. A process that is
/// killed leaves such files behind; the next replacement of the same file removes them.
///
/// A name holds the time of its creation, which tells a stale file from one in use without a lock:
/// no file is in use for as long as an hour. Paths are absolute, in raw bytes. Thread-safe.
namespace pelorinnews::TemporaryNames {

/// A new name for a file beside `path`.
[[nodiscard]] QByteArray beside(const QByteArray &path);

/// Removes the temporary files beside `path` that are more than an hour old.
void removeAbandoned(const QByteArray &path);

}  // namespace pelorinnews::TemporaryNames
