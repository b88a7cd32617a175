#include "DisclosureButtonAccessible.h"

#include <QAbstractButton>

namespace pelorinnews {

DisclosureButtonAccessible::DisclosureButtonAccessible(QAbstractButton *button)
    : QAccessibleWidget(button, QAccessible::Button) {}

QAccessible::State DisclosureButtonAccessible::state() const {
    QAccessible::State state = QAccessibleWidget::state();
    state.expandable = true;
    state.expanded = button()->isChecked();
    state.collapsed = !button()->isChecked();
    return state;
}

QStringList DisclosureButtonAccessible::actionNames() const {
    return QStringList{pressAction()} + QAccessibleWidget::actionNames();
}

void DisclosureButtonAccessible::doAction(const QString &actionName) {
    if (actionName == pressAction())
        button()->click();
    else
        QAccessibleWidget::doAction(actionName);
}

QAbstractButton *DisclosureButtonAccessible::button() const {
    return static_cast<QAbstractButton *>(widget());
}

}  // namespace pelorinnews
