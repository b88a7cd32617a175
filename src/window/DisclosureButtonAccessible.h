#pragma once

#include <QAccessibleWidget>

namespace pelorinnews {

class DisclosureButton;

/// The disclosure triangle as assistive technologies see it: a button that is expanded or
/// collapsed. There is no role of its own for it, and a check box would be "checked" while its name
/// offers to hide.
class DisclosureButtonAccessible final : public QAccessibleWidget {
public:
    explicit DisclosureButtonAccessible(DisclosureButton *button);

    [[nodiscard]] QAccessible::State state() const override;
    [[nodiscard]] QStringList actionNames() const override;
    void doAction(const QString &actionName) override;

private:
    [[nodiscard]] DisclosureButton *button() const;
};

}  // namespace pelorinnews
