#include "NavigationButton.h"

#include <QEvent>

namespace pelorinnews {

NavigationButton::NavigationButton(QWidget *parent) : QToolButton(parent) {
    updateArrow();
}

void NavigationButton::setForward(bool forward) {
    _forward = forward;
    updateArrow();
}

void NavigationButton::changeEvent(QEvent *event) {
    QToolButton::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange)
        updateArrow();
}

void NavigationButton::updateArrow() {
    const bool left = _forward == isRightToLeft();
    setArrowType(left ? Qt::LeftArrow : Qt::RightArrow);
    setShortcut(Qt::ALT | (left ? Qt::Key_Left : Qt::Key_Right));
}

}  // namespace pelorinnews
