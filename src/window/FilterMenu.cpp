#include "FilterMenu.h"

#include "FilterMenuAccessible.h"
#include "SpeakAgain.h"

#include <QAccessible>
#include <QEvent>
#include <QGuiApplication>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QStyledItemDelegate>

#include <utility>

namespace pelorinnews {

namespace {

QAccessibleInterface *accessibleFor(const QString &, QObject *object) {
    auto *const menu = qobject_cast<FilterMenu *>(object);
    return menu ? new FilterMenuAccessible(menu) : nullptr;
}

// Qt's own delegate aligns a list's entries in the direction of the application, not of the menu.
class EntryDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    // The rows of the other delegate are as high.
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem &option,
                                 const QModelIndex &index) const override {
        return QStyledItemDelegate::sizeHint(option, index) + QSize(0, 8);
    }
};

}  // namespace

FilterMenu::FilterMenu(QWidget *parent) : QComboBox(parent) {
    QAccessible::installFactory(accessibleFor);
    connect(this, &QComboBox::currentTextChanged, this, &FilterMenu::tellText);
    connect(this, &QComboBox::activated, this, [this] { speakAgain(this); });
}

// Qt's own hint leaves too little room where only the font is enlarged: then the arrow is as well.
QSize FilterMenu::wideEnough(QSize size) const {
    int widest = 0;
    for (int index = 0; index < count(); ++index)
        widest = qMax(widest, fontMetrics().horizontalAdvance(itemText(index)));
    QStyleOptionComboBox option;
    initStyleOption(&option);
    option.rect = QRect({}, size);
    const QRect field =
        style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
    return size + QSize(qMax(0, widest - field.width()), 0);
}

void FilterMenu::changeEvent(QEvent *event) {
    QComboBox::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange &&
        layoutDirection() != QGuiApplication::layoutDirection())
        setItemDelegate(new EntryDelegate(this));
}

void FilterMenu::tellText() {
    const QString before = std::exchange(_told, currentText());
    if (!QAccessible::isActive())
        return;
    QAccessibleTextUpdateEvent update(this, 0, before, _told);
    QAccessible::updateAccessibility(&update);
}

}  // namespace pelorinnews
