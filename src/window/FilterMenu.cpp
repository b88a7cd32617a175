#include "FilterMenu.h"

#include "WindowAccessibles.h"

#include <QAccessible>

#include <utility>

namespace pelorinnews {

FilterMenu::FilterMenu(QWidget *parent) : QComboBox(parent) {
    WindowAccessibles::install();
    connect(this, &QComboBox::currentTextChanged, this, &FilterMenu::tellText);
    connect(this, &QComboBox::activated, this, [this] { WindowAccessibles::speakAgain(this); });
}

void FilterMenu::tellText() {
    const QString before = std::exchange(_told, currentText());
    if (!QAccessible::isActive())
        return;
    QAccessibleTextUpdateEvent update(this, 0, before, _told);
    QAccessible::updateAccessibility(&update);
}

}  // namespace pelorinnews
