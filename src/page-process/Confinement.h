#pragma once

#include <QtGlobal>

namespace pelorinnews {

/// Restricts this process to what showing pages needs: it gains no privileges, leaves no core file,
/// and is killed when its parent process ends. That parent must be `parent`. Call it before the
/// first thread is started. Returns false if the parent has already ended, or the system refuses.
[[nodiscard]] bool confine(qint32 parent);

/// Whether the engine can isolate each page in namespaces of its own. Where it cannot, it would go
/// on with a weaker sandbox. To be called before the first thread is started.
[[nodiscard]] bool canIsolatePages();

}  // namespace pelorinnews
