#include "DisclosureButton.h"

#include "DisclosureButtonAccessible.h"

#include <QAccessible>
#include <QEvent>
#include <QSignalBlocker>

namespace pelorinnews {

namespace {

QAccessibleInterface *accessibleFor(const QString &, QObject *object) {
    auto *const button = qobject_cast<DisclosureButton *>(object);
    return button ? new DisclosureButtonAccessible(button) : nullptr;
}

}  // namespace

DisclosureButton::DisclosureButton(QWidget *parent) : QToolButton(parent) {
    QAccessible::installFactory(accessibleFor);
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
