#include "WindowAccessibles.h"

#include "DisclosureButton.h"
#include "DisclosureButtonAccessible.h"
#include "FilterMenu.h"
#include "FilterMenuAccessible.h"
#include "NewsWebViewAccessible.h"
#include "OlvNewsWebView.h"
#include "OlvNewsWindow.h"

namespace pelorinnews::WindowAccessibles {

namespace {

template <class Widget>
bool names(const QString &className) {
    return className == QLatin1String(Widget::staticMetaObject.className());
}

QAccessibleInterface *accessibleFor(const QString &className, QObject *object) {
    if (names<OlvNewsWebView>(className))
        return new NewsWebViewAccessible(static_cast<OlvNewsWebView *>(object));
    if (names<DisclosureButton>(className))
        return new DisclosureButtonAccessible(static_cast<DisclosureButton *>(object));
    if (names<FilterMenu>(className))
        return new FilterMenuAccessible(static_cast<FilterMenu *>(object));
    // Otherwise it would be a mere part of a window, and nobody told that it became active.
    if (names<OlvNewsWindow>(className))
        return new QAccessibleWidget(static_cast<OlvNewsWindow *>(object), QAccessible::Window);
    return nullptr;
}

}  // namespace

void install() {
    static const bool installed = [] {
        QAccessible::installFactory(accessibleFor);
        return true;
    }();
    Q_UNUSED(installed)
}

void speakAgain(QWidget *widget) {
    if (!QAccessible::isActive() || !widget->hasFocus())
        return;
    // A client that asked for the change is being served by the very object that goes.
    QMetaObject::invokeMethod(
        widget,
        [widget] {
            if (!widget->hasFocus())
                return;
            // An object that they have not met and that has the focus is spoken.
            if (QAccessibleInterface *known = QAccessible::queryAccessibleInterface(widget))
                QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(known));
            QAccessibleEvent focus(widget, QAccessible::Focus);
            QAccessible::updateAccessibility(&focus);
        },
        Qt::QueuedConnection);
}

}  // namespace pelorinnews::WindowAccessibles
