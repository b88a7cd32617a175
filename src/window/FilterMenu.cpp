#include "FilterMenu.h"

#include "FilterMenuAccessible.h"
#include "SpeakAgain.h"

#include <QAccessible>

#include <utility>

namespace pelorinnews {

namespace {

QAccessibleInterface *accessibleFor(const QString &, QObject *object) {
    auto *const menu = qobject_cast<FilterMenu *>(object);
    return menu ? new FilterMenuAccessible(menu) : nullptr;
}

}  // namespace

FilterMenu::FilterMenu(QWidget *parent) : QComboBox(parent) {
    QAccessible::installFactory(accessibleFor);
    connect(this, &QComboBox::currentTextChanged, this, &FilterMenu::tellText);
    connect(this, &QComboBox::activated, this, [this] { speakAgain(this); });
}

void FilterMenu::tellText() {
    const QString before = std::exchange(_told, currentText());
    if (!QAccessible::isActive())
        return;
    QAccessibleTextUpdateEvent update(this, 0, before, _told);
    QAccessible::updateAccessibility(&update);
}

}  // namespace pelorinnews
