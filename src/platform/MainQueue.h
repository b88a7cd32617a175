#pragma once

#include <functional>

namespace pelorinnews {

/// Runs tasks on the main thread, one after another in the order in which they were posted.
namespace MainQueue {

/// Posts `task` and returns at once, on the main thread too: the task runs at a later turn of the
/// main event loop. Callable from any thread. A task never runs where no application object exists
/// (it is dropped on the spot) or where the main loop never turns again (it is kept).
void dispatchAsync(std::function<void()> task);

/// Whether the caller is on the thread of the application object. False where there is none.
[[nodiscard]] bool isMainThread();

}  // namespace MainQueue

}  // namespace pelorinnews
