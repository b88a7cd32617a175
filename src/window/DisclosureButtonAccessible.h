#pragma once

#include <QAccessibleWidget>

class QAbstractButton;

namespace pelorinnews {

/// The disclosure triangle as assistive technologies see it: a button that is expanded or
/// collapsed. Qt has no accessibility role for such a triangle, and a check box would read
/// "checked" while its name offers to hide the options.
class DisclosureButtonAccessible final : public QAccessibleWidget {
public:
    explicit DisclosureButtonAccessible(QAbstractButton *button);

    [[nodiscard]] QAccessible::State state() const override;
    [[nodiscard]] QStringList actionNames() const override;
    void doAction(const QString &actionName) override;

private:
    [[nodiscard]] QAbstractButton *button() const;
};

}  // namespace pelorinnews
