#pragma once

// Deletes window controllers and their windows when no owner is left.

namespace pelorinnews {

class OlvNewsWindow;
class OlvNewsWindowController;

/// Deletes the controller later on the main thread, or with the application object, whichever comes
/// first. Deletion is deferred because the last reference may be released on any thread, during an
/// event of the controller's own window, or after the host's event loop has ended. Without an
/// application object, deletes at once. Any thread.
void destroyOnMainThread(OlvNewsWindowController *controller);

/// Cancels the deferred deletion of a controller. Every controller calls this in its destructor.
/// Any thread.
void forgetOwnerless(OlvNewsWindowController *controller);

/// Deletes the window together with the application object, if the window still exists then: a
/// window must not outlive the application object, and a host may end without calling `exit`. Main
/// thread.
void destroyWithApplication(OlvNewsWindow *window);

}  // namespace pelorinnews
