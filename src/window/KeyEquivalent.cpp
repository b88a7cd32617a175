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

std::optional<ZoomStep> zoomStep(const QKeyEvent &event) {
    const bool isPress =
        event.type() == QEvent::KeyPress || event.type() == QEvent::ShortcutOverride;
    constexpr Qt::KeyboardModifiers others = Qt::MetaModifier | Qt::AltModifier;
    if (!isPress || !event.modifiers().testFlag(Qt::ControlModifier) || event.modifiers() & others)
        return std::nullopt;
    switch (event.key()) {
        case Qt::Key_Plus:
        case Qt::Key_Equal:
            return ZoomStep::In;
        case Qt::Key_Minus:
            return ZoomStep::Out;
        case Qt::Key_0:
            return ZoomStep::Reset;
        default:
            return std::nullopt;
    }
}

}  // namespace pelorinnews
