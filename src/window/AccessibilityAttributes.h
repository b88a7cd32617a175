#pragma once

#include <QString>
#include <QVariant>

namespace pelorinnews {

/// The attributes of the content view that accessibility clients get and set.
enum class AccessibilityAttribute { Value, Role, Title, Other };

/// The interface through which the content view's accessible object reads and changes the view.
class AccessibilityAttributes {
public:
    /// For `Value`, the value, or a fixed placeholder if the value is absent or empty. For `Role`,
    /// the number of the role as accessibility clients know it. Otherwise an invalid variant.
    [[nodiscard]] virtual QVariant accessibilityAttributeValue(
        AccessibilityAttribute attribute) const = 0;

    /// Stores the value and announces it, even if the text is the same. Other attributes are
    /// ignored.
    virtual void accessibilitySetValueForAttribute(const QString &value,
                                                   AccessibilityAttribute attribute) = 0;

    /// The value as it was set, without the placeholder: may be absent or empty.
    [[nodiscard]] virtual QString ownValue() const = 0;

protected:
    ~AccessibilityAttributes() = default;
};

}  // namespace pelorinnews
