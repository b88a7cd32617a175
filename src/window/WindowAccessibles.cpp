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
    // Otherwise clients would see only a part of a window and would not be told when it becomes
    // active.
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

}  // namespace pelorinnews::WindowAccessibles
