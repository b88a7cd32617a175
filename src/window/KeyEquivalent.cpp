#include "KeyEquivalent.h"

namespace pelorinnews {

namespace {

constexpr Qt::KeyboardModifiers countedModifiers =
    Qt::ShiftModifier | Qt::MetaModifier | Qt::AltModifier | Qt::ControlModifier;

bool isPress(const QKeyEvent &event) {
    return event.type() == QEvent::KeyPress || event.type() == QEvent::ShortcutOverride;
}

}  // namespace

bool isKeyEquivalent(const QKeyEvent &event, const KeyEquivalent &equivalent) {
    if (!isPress(event) || (event.modifiers() & countedModifiers) != equivalent.modifiers)
        return false;
    if (event.nativeScanCode() == 0)
        return event.key() == equivalent.key;
    return event.nativeScanCode() == equivalent.scanCode;
}

bool isKeyEquivalent(const QKeyEvent &event, const QKeySequence &shortcut) {
    const Qt::KeyboardModifiers modifiers = event.modifiers() & countedModifiers;
    return isPress(event) &&
           QKeySequence(QKeyCombination(modifiers, static_cast<Qt::Key>(event.key()))) == shortcut;
}

std::optional<ZoomStep> zoomStep(const QKeyEvent &event) {
    constexpr Qt::KeyboardModifiers others = Qt::MetaModifier | Qt::AltModifier;
    if (!isPress(event) || !event.modifiers().testFlag(Qt::ControlModifier) ||
        event.modifiers() & others)
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
