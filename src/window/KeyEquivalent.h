#pragma once

#include <QKeyEvent>

namespace pelorinnews {

/// A key together with exactly the modifiers that must be held. The key is a place on the
/// keyboard, whatever character the current layout gives it.
///
/// Modifiers are Qt's: Command is `Qt::ControlModifier`, Control is `Qt::MetaModifier`, Option is
/// `Qt::AltModifier`.
struct KeyEquivalent {
    /// The native scan code of the place: the kernel's code of the key plus 8, as X11 and Wayland
    /// report it.
    quint32 scanCode;
    /// What an event without a scan code is told by. Synthetic events have none.
    Qt::Key key;
    Qt::KeyboardModifiers modifiers;

    friend bool operator==(const KeyEquivalent &, const KeyEquivalent &) = default;
};

/// Copies the shown item.
inline constexpr KeyEquivalent copyKeyEquivalent{54, Qt::Key_C, Qt::ControlModifier};
/// Both close the window.
inline constexpr KeyEquivalent closeKeyEquivalent{25, Qt::Key_W, Qt::ControlModifier};
inline constexpr KeyEquivalent escapeKeyEquivalent{9, Qt::Key_Escape, Qt::NoModifier};

/// Whether `event` is a press of `equivalent`, or the question before one whether a shortcut may
/// be overridden. Only Shift, Control, Option and Command count as modifiers: Caps Lock, the
/// keypad's and the layout's own make no difference.
[[nodiscard]] bool isKeyEquivalent(const QKeyEvent &event, const KeyEquivalent &equivalent);

}  // namespace pelorinnews
