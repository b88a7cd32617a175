#pragma once

class QWidget;

namespace pelorinnews {

/// Makes sure that the outlines of the controls in `window` can be seen. Some styles paint an
/// outline in a darker shade of the window's colour. On a black window nobody sees it, so an empty
/// check box has no box. There, the controls get a brighter colour to
/// derive the shade from.
///
/// To be called when the window's palette or style has changed. Main thread only.
void updateControlOutlines(const QWidget &window);

}  // namespace pelorinnews
