#pragma once

class QWidget;
class QWindow;

/// Who says where the edges of a window are: its program or the desktop. Main thread only.
namespace pelorinnews::WindowEdges {

[[nodiscard]] bool isMaximizedOrFullScreen(const QWidget &window);

/// Whether the compositor tiles `window`, which may be absent: beside others, or in a half of the
/// screen. False where that cannot be known, as on X11.
[[nodiscard]] bool isTiled(const QWindow *window);

/// Whether the desktop alone sets the size of `window`: it is maximized, full screen or known to be
/// tiled.
[[nodiscard]] bool areSetByDesktop(const QWidget &window);

/// How much higher `window`, its frame included, may become at its bottom edge before it leaves the
/// screen, in device-independent pixels; negative if a part of it is outside.
[[nodiscard]] int roomBelow(const QWidget &window);

}  // namespace pelorinnews::WindowEdges
