#include "PopupWindows.h"

#include <QCoreApplication>
#include <QEvent>
#include <QWidget>

namespace pelorinnews {

namespace {

// Not a tooltip, which reaches the host as text, and not a dialog, which is never shown.
bool isPopup(const QWidget &window) {
    return window.isWindow() && window.windowType() == Qt::Popup && !window.inherits("QTipLabel");
}

}  // namespace

PopupWindows::PopupWindows(QWidget &view) : _view(view) {
    QCoreApplication::instance()->installEventFilter(this);
}

bool PopupWindows::eventFilter(QObject *watched, QEvent *event) {
    const QEvent::Type type = event->type();
    const bool isPlaced = type == QEvent::Show || type == QEvent::Move || type == QEvent::Resize;
    if (!isPlaced && type != QEvent::Hide)
        return false;
    auto *window = qobject_cast<QWidget *>(watched);
    if (!window || window == &_view || !isPopup(*window))
        return false;
    if (type == QEvent::Hide)
        Q_EMIT hidden(window);
    else if (window->isVisible() || type == QEvent::Show)
        Q_EMIT shown(window, window->geometry().translated(-_view.geometry().topLeft()));
    return false;
}

}  // namespace pelorinnews
