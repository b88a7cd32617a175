#pragma once

class QObject;
class QWidget;

// Deletion of objects that no longer have an owner.

namespace pelorinnews {

/// Schedules the deletion of `object` on the main thread: in a later event, or when the application
/// object is destroyed, whichever comes first. Meant for objects whose last reference may be
/// released on any thread, during an event of their own, or after the host's event loop has ended.
/// Without an application object, deletes at once. Thread-safe.
void deleteOnMainThread(QObject *object);

/// Cancels the deferred deletion of an object, which must call this in its destructor. Thread-safe.
void cancelDeferredDeletion(QObject *object);

/// Deletes the window together with the application object, if the window still exists then: a
/// window must not outlive the application object, and a host may end without calling `exit`. Call
/// it after the window's content has been created. Libraries that the content loads may register
/// post routines; the window is deleted before these run. Main thread only.
void deleteWithApplication(QWidget *window);

}  // namespace pelorinnews
