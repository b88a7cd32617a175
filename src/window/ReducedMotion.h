#pragma once

#include <functional>

/// The user's wish for less motion on the screen.
namespace pelorinnews::ReducedMotion {

/// Asks the desktop's settings portal whether the user wants no animations, and calls `answer` with
/// the result on the main thread. Never calls it if there is no portal, or if it knows no such
/// setting. Does not start a portal, and does not wait for it: returns at once. Qt 6.4 does not
/// read these settings, except in the style of one desktop.
///
/// Read are "reduced-motion" of org.freedesktop.appearance, "enable-animations" of
/// org.gnome.desktop.interface and "AnimationDurationFactor" of org.kde.kdeglobals.KDE.
void ask(std::function<void(bool isReduced)> answer);

}  // namespace pelorinnews::ReducedMotion
