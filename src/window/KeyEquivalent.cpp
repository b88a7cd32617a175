#include "KeyEquivalent.h"

namespace pelorinnews {

bool isKeyEquivalent(const QKeyEvent &event, const KeyEquivalent &equivalent) {
    if (event.type() != QEvent::KeyPress && event.type() != QEvent::ShortcutOverride)
        return false;
    constexpr Qt::KeyboardModifiers counted =
        Qt::ShiftModifier | Qt::MetaModifier | Qt::AltModifier | Qt::ControlModifier;
    if ((event.modifiers() & counted) != equivalent.modifiers)
        return false;
    if (event.nativeScanCode() == 0)
        return event.key() == equivalent.key;
    return event.nativeScanCode() == equivalent.scanCode;
}

}  // namespace pelorinnews
