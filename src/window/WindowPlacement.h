#pragma once

#include <QList>
#include <QRect>

class QWidget;

namespace pelorinnews {

/// The position of a window on the desktop. Main thread only.
namespace WindowPlacement {

/// Centres a window that was not shown yet on the primary screen. Shrinks it, down to its minimum
/// size at most, if its frame needs the room.
void centre(QWidget &window);

/// If part of the window, its frame included, lies outside the available area of all screens, moves
/// it onto the screen that shows most of it, or onto the primary screen if none shows any of it,
/// and shrinks it if needed. A maximized, full-screen or minimized window stays where it is. X11
/// only: elsewhere only the desktop places windows.
void bringOntoScreen(QWidget &window);

/// Whether `areas` together cover `frame`.
[[nodiscard]] bool isCovered(const QRect &frame, const QList<QRect> &areas);

/// `frame`, moved and shrunk no more than needed to lie in `area`, and never shrunk below
/// `smallest`. If that is still too large, its upper left corner lies in the area.
[[nodiscard]] QRect broughtInto(const QRect &frame, const QRect &area, const QSize &smallest);

}  // namespace WindowPlacement

}  // namespace pelorinnews
