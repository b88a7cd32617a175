#pragma once

class QWidget;
class QWindow;

/// Whether the program or the desktop controls the edges of a window. Main thread only.
namespace pelorinnews::WindowEdges {

[[nodiscard]] bool isMaximizedOrFullScreen(const QWidget &window);

/// Whether the compositor tiles `window` (may be null), beside other windows or in a half of the
/// screen. False if that is unknown, as on X11.
[[nodiscard]] bool isTiled(const QWindow *window);

/// Whether the desktop alone sets the size of `window`: it is maximized, full screen or known to be
/// tiled.
[[nodiscard]] bool areSetByDesktop(const QWidget &window);

/// Whether `window`, its frame included, is as wide or as high as the available area of its screen.
/// A window that X11 tiles or maximizes in one direction usually is.
[[nodiscard]] bool spanScreen(const QWidget &window);

/// By how much `window`, its frame included, can grow at its bottom edge before it leaves the
/// screen, in device-independent pixels. Negative if the window's bottom edge is already outside or
/// if the window is taller than the screen's available area.
[[nodiscard]] int roomBelow(const QWidget &window);

}  // namespace pelorinnews::WindowEdges
