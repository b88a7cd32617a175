#pragma once

namespace pelorinnews {

/// What the module does when the application object is destroyed. Qt calls its post routines last
/// in, first out, so their order would depend on what a host happens to use first; the phases here
/// always run in the same order.
///
/// Thread-safe.
namespace ApplicationEnd {

/// Actions of the same phase run in no defined order.
enum class Phase {
    /// Windows, then controllers that are released but not deleted yet. They use everything below.
    Windows,
    Notifications,
    /// Downloads, before `Queues`: each ends with a completion on a queue.
    Downloads,
    Queues,
    Searches,
    /// Preferences, which any of the above may still set.
    Preferences,
    /// Tasks for the main thread that any of the above may still have posted.
    MainTasks,
};

/// A function that does not throw, and does not rely on an action of an earlier phase.
using Action = void (*)();

/// Calls `action` on the main thread when the application object is destroyed; if there is none
/// now, when the next application object is destroyed. Adding an action again before it was called
/// is a no-op. Under a later application object the action has to be added again.
///
/// An action may add others; the earliest phase that has actions always runs next. Adding an action
/// of the phase `Windows` makes all phases run before the post routines that are registered so far,
/// such as those of libraries that a window has loaded.
void add(Phase phase, Action action);

}  // namespace ApplicationEnd

}  // namespace pelorinnews
