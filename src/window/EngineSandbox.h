#pragma once

namespace pelorinnews {

/// Whether a web engine started in this process could put its helpers into a sandbox, or was told
/// to do without one. Where neither holds it ends the whole process at its start: so it does for
/// the system's administrator, and where the kernel lets no program make namespaces of its own
/// (containers, hardened systems).
///
/// Asks the kernel by starting a process that ends at once; some milliseconds at most.
[[nodiscard]] bool canSandboxEngine();

}  // namespace pelorinnews
