#include "DisclosureButton.h"

#include "WindowAccessibles.h"

#include <QEvent>
#include <QSignalBlocker>

namespace pelorinnews {

DisclosureButton::DisclosureButton(QWidget *parent) : QToolButton(parent) {
    WindowAccessibles::install();
    setCheckable(true);
    setAutoRaise(true);
    connect(this, &QToolButton::toggled, this, &DisclosureButton::updateArrow);
    updateArrow();
}

void DisclosureButton::setOpen(bool open) {
    const QSignalBlocker silent(this);
    setChecked(open);
    updateArrow();
}

void DisclosureButton::changeEvent(QEvent *event) {
    QToolButton::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange)
        updateArrow();
}

void DisclosureButton::updateArrow() {
    if (isChecked())
        setArrowType(Qt::DownArrow);
    else
        setArrowType(isRightToLeft() ? Qt::LeftArrow : Qt::RightArrow);
}

}  // namespace pelorinnews
