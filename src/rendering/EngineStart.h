#pragma once

namespace pelorinnews {

/// Whether a web engine started in this process would find what it needs. Where it does not, it
/// ends the whole process at its start, so this is asked before anything of it is loaded:
/// - Its helper program and its resources lie where Qt, or the environment, says.
/// - This process may open as many more files as the engine takes. What the host opens afterwards
///   is not foreseen.
/// - It can put its helpers into a sandbox, or was told by its own switches to do without. It
///   cannot for the system's administrator, and where the kernel lets no program make namespaces
///   of its own (containers, hardened systems).
///
/// Asks the kernel by starting a process that ends at once; some milliseconds at most.
[[nodiscard]] bool canStartEngine();

}  // namespace pelorinnews
