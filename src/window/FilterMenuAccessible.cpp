#include "FilterMenuAccessible.h"

#include <QAbstractItemView>
#include <QComboBox>

namespace pelorinnews {

FilterMenuAccessible::FilterMenuAccessible(QComboBox *menu)
    : QAccessibleWidget(menu, QAccessible::ComboBox) {}

QComboBox *FilterMenuAccessible::menu() const {
    return static_cast<QComboBox *>(widget());
}

QString FilterMenuAccessible::wholeText() const {
    return menu()->currentText();
}

QString FilterMenuAccessible::text(QAccessible::Text which) const {
    if (which == QAccessible::Name || which == QAccessible::Value)
        return wholeText();
    return QAccessibleWidget::text(which);
}

QAccessible::State FilterMenuAccessible::state() const {
    QAccessible::State state = QAccessibleWidget::state();
    state.expandable = true;
    state.expanded = menu()->view()->isVisible();
    return state;
}

void *FilterMenuAccessible::interface_cast(QAccessible::InterfaceType type) {
    if (type == QAccessible::TextInterface)
        return static_cast<QAccessibleTextInterface *>(this);
    return QAccessibleWidget::interface_cast(type);
}

QAccessibleInterface *FilterMenuAccessible::child(int index) const {
    return index == 0 ? QAccessible::queryAccessibleInterface(menu()->view()) : nullptr;
}

int FilterMenuAccessible::indexOfChild(const QAccessibleInterface *child) const {
    return child && child->object() == menu()->view() ? 0 : -1;
}

QStringList FilterMenuAccessible::actionNames() const {
    return {showMenuAction(), pressAction()};
}

void FilterMenuAccessible::doAction(const QString &actionName) {
    if (actionName != showMenuAction() && actionName != pressAction())
        QAccessibleWidget::doAction(actionName);
    else if (menu()->view()->isVisible())
        menu()->hidePopup();
    else
        menu()->showPopup();
}

}  // namespace pelorinnews
