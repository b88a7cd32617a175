#pragma once

class QObject;
class QWidget;

// Deletes what has no owner left.

namespace pelorinnews {

/// Deletes the object later on the main thread, or with the application object, whichever comes
/// first. For objects whose last reference may be released on any thread, during an event of their
/// own, or after the host's event loop has ended. Without an application object, deletes at once.
/// Any thread.
void deleteOnMainThread(QObject *object);

/// Cancels the deferred deletion of an object, which must call this in its destructor. Any thread.
void cancelDeferredDeletion(QObject *object);

/// Deletes the window together with the application object, if the window still exists then: a
/// window must not outlive the application object, and a host may end without calling `exit`. To be
/// called when the window has what it needs, since it goes before that. Main thread.
void deleteWithApplication(QWidget *window);

}  // namespace pelorinnews
