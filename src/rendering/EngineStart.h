#pragma once

namespace pelorinnews {

/// Whether a web engine can start in this process. An engine that cannot start ends the whole
/// process, so call this before loading any of its code. The engine needs:
/// - Its helper program and its resources, where Qt or the environment says they are.
/// - Enough free file descriptors. Files that the host opens afterwards are not accounted for.
/// - A sandbox for its helpers, unless its own switches disable the sandbox. The sandbox does not
///   work as root, nor where the kernel does not let unprivileged programs create namespaces
///   (containers, hardened systems).
///
/// Checks the kernel by starting a process that ends at once; takes a few milliseconds at most.
[[nodiscard]] bool canStartEngine();

}  // namespace pelorinnews
