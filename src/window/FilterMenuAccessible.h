#pragma once

#include "AccessibleText.h"

#include <QAccessibleWidget>

class QComboBox;

namespace pelorinnews {

/// A filter menu as assistive technologies see it: a combo box like Qt's own, but with the current
/// entry as its text as well. Screen readers read the value of a labelled combo box from its text.
class FilterMenuAccessible final : public QAccessibleWidget, public AccessibleText {
public:
    explicit FilterMenuAccessible(QComboBox *menu);

    using AccessibleText::text;
    [[nodiscard]] QString text(QAccessible::Text which) const override;
    [[nodiscard]] QAccessible::State state() const override;
    void *interface_cast(QAccessible::InterfaceType type) override;

    // The pop-up list is the only child, open or not.
    [[nodiscard]] int childCount() const override { return 1; }
    [[nodiscard]] QAccessibleInterface *child(int index) const override;
    [[nodiscard]] QAccessibleInterface *childAt(int, int) const override { return nullptr; }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface *child) const override;

    [[nodiscard]] QStringList actionNames() const override;
    void doAction(const QString &actionName) override;

protected:
    [[nodiscard]] QString wholeText() const override;
    [[nodiscard]] QRect textRect() const override { return rect(); }

private:
    [[nodiscard]] QComboBox *menu() const;
};

}  // namespace pelorinnews
