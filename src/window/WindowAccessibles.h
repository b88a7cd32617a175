#pragma once

class QWidget;

namespace pelorinnews::WindowAccessibles {

/// Makes accessibility clients see the window, the content view, the disclosure triangle and the
/// filter menus as what they are instead of as plain widgets. Call it before the first of them is
/// created; further calls in the process are no-ops.
void install();

/// Makes screen readers speak `widget` again, after the current event, if it has the keyboard
/// focus. They ignore many changes of an object that they already know.
void speakAgain(QWidget *widget);

}  // namespace pelorinnews::WindowAccessibles
