#pragma once

#include <QtGlobal>

namespace pelorinnews {

/// Restricts this process to what showing pages needs: it gains no privileges, leaves no core file,
/// and is killed when its parent process ends. That parent must be `parent`. Call it before the
/// first thread is started. Returns false if the parent has already ended, or the system refuses.
[[nodiscard]] bool confine(qint32 parent);

}  // namespace pelorinnews
