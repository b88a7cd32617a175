#pragma once

class QWidget;

namespace pelorinnews {

/// Makes screen readers speak `widget` again, after the current event, if it has the keyboard
/// focus. They ignore many changes of an object that they already know. Main thread only.
void speakAgain(QWidget *widget);

}  // namespace pelorinnews
