#include "SpeakAgain.h"

#include <QAccessible>
#include <QWidget>

namespace pelorinnews {

void speakAgain(QWidget *widget) {
    if (!QAccessible::isActive() || !widget->hasFocus())
        return;
    // Queued: a client that triggered the change is still being served by the interface that is
    // deleted here.
    QMetaObject::invokeMethod(
        widget,
        [widget] {
            if (!widget->hasFocus())
                return;
            // Screen readers speak a focused object that they do not know yet, so replace the
            // interface.
            if (QAccessibleInterface *known = QAccessible::queryAccessibleInterface(widget))
                QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(known));
            QAccessibleEvent focus(widget, QAccessible::Focus);
            QAccessible::updateAccessibility(&focus);
        },
        Qt::QueuedConnection);
}

}  // namespace pelorinnews
