#pragma once

#include <QByteArray>

/// Names for files that stand beside another for a moment, while it is replaced. A process that is
/// killed leaves them behind; whoever next replaces the same file removes them.
///
/// A name bears the time at which it was made, so that one in use is told from one left behind
/// without a lock: none is in use for an hour. Paths are absolute, as the bytes that the kernel
/// takes. Any thread.
namespace pelorinnews::TemporaryNames {

/// A new name for a file beside `path`.
[[nodiscard]] QByteArray beside(const QByteArray &path);

/// Removes what has stood beside `path` under such a name for more than an hour.
void removeAbandoned(const QByteArray &path);

}  // namespace pelorinnews::TemporaryNames
