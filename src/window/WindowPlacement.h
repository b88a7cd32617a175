#pragma once

#include <QList>
#include <QRect>

#include <optional>

class QWidget;

namespace pelorinnews {

/// The position of a window on the desktop. Main thread only.
namespace WindowPlacement {

/// Moves a window that has not been shown yet to the centre of the primary screen. First shrinks it
/// to nine tenths of the available area if it is larger, to leave room for its frame, but not below
/// its minimum size.
void centre(QWidget &window);

/// Gives a window that has not been shown yet this size, but no more than the largest screen has
/// room for, and not less than its minimum size. On X11, puts the upper left corner of its frame at
/// `place`, unless absent. Everywhere else only the desktop places windows. The lowest `spare`
/// pixels of the window need no room.
void restore(QWidget &window, const QSize &size, const std::optional<QPoint> &place, int spare);

/// The upper left corner of the window's frame; absent on platforms other than X11.
[[nodiscard]] std::optional<QPoint> place(const QWidget &window);

/// If any part of the window or of its frame is outside the screens' available areas, moves the
/// window onto the screen that shows most of it, or onto the primary screen if none shows any of
/// it, and shrinks it if needed. No-op for a maximized, full-screen or minimized window, and on
/// platforms other than X11, where only the desktop places windows. The lowest `spare` pixels of
/// the window may lie outside.
void bringOntoScreen(QWidget &window, int spare = 0);

/// Whether `areas` together cover `frame`.
[[nodiscard]] bool isCovered(const QRect &frame, const QList<QRect> &areas);

/// `frame`, moved and shrunk no more than needed to lie in `area`, and never shrunk below
/// `minSize`. If the shrunk frame is still too large, its upper left corner lies in the area.
[[nodiscard]] QRect broughtInto(const QRect &frame, const QRect &area, const QSize &minSize);

}  // namespace WindowPlacement

}  // namespace pelorinnews
