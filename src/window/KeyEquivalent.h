#pragma once

#include <QKeyEvent>
#include <QKeySequence>

#include <optional>

namespace pelorinnews {

/// A key together with exactly the modifiers that must be held. The key is a physical position on
/// the keyboard, whatever character the current layout gives it.
///
/// Modifiers are Qt's: Command is `Qt::ControlModifier`, Control is `Qt::MetaModifier`, Option is
/// `Qt::AltModifier`.
struct KeyEquivalent {
    /// Native scan code of the key's position: the kernel's key code plus 8, as X11 and Wayland
    /// report it.
    quint32 scanCode;
    /// The key to compare if the event has no scan code, as is the case for synthetic events.
    Qt::Key key;
    Qt::KeyboardModifiers modifiers;

    friend bool operator==(const KeyEquivalent &, const KeyEquivalent &) = default;
};

/// Copies the shown item.
inline constexpr KeyEquivalent copyKeyEquivalent{54, Qt::Key_C, Qt::ControlModifier};
/// Copies the address of a link of the shown item.
inline constexpr KeyEquivalent copyLinkKeyEquivalent{54, Qt::Key_C,
                                                     Qt::ControlModifier | Qt::ShiftModifier};
/// `closeKeyEquivalent` and `escapeKeyEquivalent` close the window.
inline constexpr KeyEquivalent closeKeyEquivalent{25, Qt::Key_W, Qt::ControlModifier};
inline constexpr KeyEquivalent escapeKeyEquivalent{9, Qt::Key_Escape, Qt::NoModifier};

/// Whether `event` is a key press of `equivalent`, or the `ShortcutOverride` event that precedes
/// the press. Only Shift, Control, Option and Command count as modifiers; Caps Lock and the
/// modifiers of the keypad and the layout are ignored.
[[nodiscard]] bool isKeyEquivalent(const QKeyEvent &event, const KeyEquivalent &equivalent);

/// The same for the key of a control's shortcut, which counts by its meaning in the current layout,
/// also on the keypad.
[[nodiscard]] bool isKeyEquivalent(const QKeyEvent &event, const QKeySequence &shortcut);

enum class ZoomStep { In, Out, Reset };

/// The zoom step that `event` requests: a press of Command with plus, minus or zero, or the
/// `ShortcutOverride` event for it. Nothing for other events. These keys count by their characters,
/// also on the keypad; an equals sign counts as plus, as in browsers.
[[nodiscard]] std::optional<ZoomStep> zoomStep(const QKeyEvent &event);

}  // namespace pelorinnews
