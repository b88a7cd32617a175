#pragma once

// Who ends a window controller and its window when nobody holds them any more.

namespace pelorinnews {

class OlvNewsWindow;
class OlvNewsWindowController;

/// Deletes the controller on the main thread, later, or with the application object, whichever
/// comes first: the last reference may go on any thread, in the middle of an event of the
/// controller's own window, and after the host's event loop has ended. At once where there is no
/// application object any more. Any thread.
void destroyOnMainThread(OlvNewsWindowController *controller);

/// To be called by a controller that is destroyed, for whatever reason. Any thread.
void forgetOwnerless(OlvNewsWindowController *controller);

/// Deletes the window with the application object if it is still there then: a window must not
/// outlive that, and a host may well end without `exit`. Main thread.
void destroyWithApplication(OlvNewsWindow *window);

}  // namespace pelorinnews
