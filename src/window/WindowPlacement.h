#pragma once

#include <QList>
#include <QRect>

class QWidget;

namespace pelorinnews {

/// Where a window stands on the desktop. Main thread only.
namespace WindowPlacement {

/// Puts a window that was not shown yet into the middle of the first screen, no larger than leaves
/// room for its frame there, as far as its minimum size allows.
void centre(QWidget &window);

/// Where a part of the window, its frame included, lies outside of what every screen has available,
/// brings the window onto the screen that shows most of it, or onto the first where none shows any.
/// A maximized or minimized window stays where it is. On X11 only: elsewhere the desktop alone
/// places windows.
void bringOntoScreen(QWidget &window);

/// Whether every part of `frame` lies in some of `areas`.
[[nodiscard]] bool isCovered(const QRect &frame, const QList<QRect> &areas);

/// `frame`, moved no farther than needed to lie in `area`, and no smaller than needed for that nor
/// than `smallest`. Where that is too large, its upper left corner is in the area.
[[nodiscard]] QRect broughtInto(const QRect &frame, const QRect &area, const QSize &smallest);

}  // namespace WindowPlacement

}  // namespace pelorinnews
