#pragma once

#include <QAccessibleWidget>

namespace pelorinnews {

class DisclosureButton;

/// The disclosure triangle as assistive technologies see it: a button that is expanded or
/// collapsed. Qt has no accessibility role for such a triangle, and a check box would read
/// "checked" while its name offers to hide the options.
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
