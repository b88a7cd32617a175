#pragma once

class QWidget;

namespace pelorinnews {

/// Makes screen readers speak `widget` again, after the current event, if it has the keyboard
/// focus. They ignore many changes of an object that they already know. Main thread only.
void speakAgain(QWidget *widget);

/// Gives `widget` a new accessible object. Clients remember roles and texts of the one they know.
/// Main thread only; not while a client's request to the old object is being served.
void replaceAccessible(QWidget *widget);

}  // namespace pelorinnews
