#pragma once

namespace pelorinnews {

/// What the module does when the application object is destroyed. Qt calls its post routines last
/// in, first out, so their order would depend on what a host happens to use first; the phases here
/// always run in the same order.
///
/// Thread-safe.
namespace ApplicationEnd {

enum class Phase {
    /// Windows, and controllers without an owner. They use everything below.
    Windows,
    /// OpenGL contexts that windows share.
    Graphics,
    Notifications,
    /// Downloads. They end with a completion on a queue.
    Downloads,
    Queues,
    Searches,
    /// Preferences, which any of the above may still set.
    Preferences,
    /// Tasks for the main thread that any of the above may still have posted.
    MainTasks,
};

/// A function that neither throws nor expects anything of the phases before.
using Action = void (*)();

/// Calls `action` on the main thread when the application object is destroyed, or the next one if
/// there is none now. Adding an action again before it was called is a no-op. Under a later
/// application object the action has to be added again.
///
/// An action may add others: those of earlier phases run next. Adding an action of the phase
/// `Windows` lets all phases run before the post routines that exist by now, those of a window's
/// renderer for example.
void add(Phase phase, Action action);

}  // namespace ApplicationEnd

}  // namespace pelorinnews
