#pragma once

#include <functional>

namespace pelorinnews {

/// Runs tasks on the main thread, in the order in which they were posted.
namespace MainQueue {

/// Posts `task` and returns at once, on the main thread too: the task runs in a later turn of the
/// main event loop. Thread-safe. Without an application object, the task is dropped at once. Tasks
/// that have not run when the application object is destroyed are dropped then, on the main thread.
/// A dropped task is destroyed without being run, and never under a lock.
void dispatchAsync(std::function<void()> task);

/// Whether the caller is on the thread of the application object. False where there is none.
[[nodiscard]] bool isMainThread();

}  // namespace MainQueue

}  // namespace pelorinnews
