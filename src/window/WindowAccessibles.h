#pragma once

class QWidget;

namespace pelorinnews::WindowAccessibles {

/// Makes accessibility clients meet the window, the content view, the disclosure triangle and the
/// filter menus as what they are instead of as plain widgets. Once for the process; before the
/// first of them is made.
void install();

/// Has screen readers speak `widget` anew if it has the keyboard focus, after the current event.
/// They are silent about much that changes in an object that they know.
void speakAgain(QWidget *widget);

}  // namespace pelorinnews::WindowAccessibles
