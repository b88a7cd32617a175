#include "SpeakAgain.h"

#include <QAccessible>
#include <QWidget>

namespace pelorinnews {

void replaceAccessible(QWidget *widget) {
    if (QAccessibleInterface *known = QAccessible::queryAccessibleInterface(widget))
        QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(known));
}

void speakAgain(QWidget *widget) {
    if (!QAccessible::isActive() || !widget->hasFocus())
        return;
    // Queued, because the interface that is deleted here may still be serving the client that
    // triggered the change.
    QMetaObject::invokeMethod(
        widget,
        [widget] {
            if (!widget->hasFocus())
                return;
            // Screen readers speak a focused object that they do not know yet, so replace the
            // interface.
            replaceAccessible(widget);
            QAccessibleEvent focus(widget, QAccessible::Focus);
            QAccessible::updateAccessibility(&focus);
        },
        Qt::QueuedConnection);
}

}  // namespace pelorinnews
