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
    setArrowType(_forward == isRightToLeft() ? Qt::LeftArrow : Qt::RightArrow);
}

}  // namespace pelorinnews
