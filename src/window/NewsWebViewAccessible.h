#pragma once

#include "AccessibilityAttributes.h"
#include "AccessibleText.h"

#include <QAccessibleWidget>

namespace pelorinnews {

/// The content view as assistive technologies see it: one static text without children. Its name
/// and its text are both the view's value, because screen readers differ in which of the two they
/// read. A client may set the value through the editable-text interface.
class NewsWebViewAccessible final : public QAccessibleWidget,
                                    public AccessibleText,
                                    public QAccessibleEditableTextInterface {
public:
    /// `viewAttributes` are those of `view` itself.
    NewsWebViewAccessible(QWidget *view, AccessibilityAttributes &viewAttributes);

    using AccessibleText::text;
    [[nodiscard]] QString text(QAccessible::Text which) const override;
    void setText(QAccessible::Text which, const QString &text) override;
    [[nodiscard]] QAccessible::State state() const override;
    void *interface_cast(QAccessible::InterfaceType type) override;

    // No children: the value contains what the renderer shows.
    [[nodiscard]] int childCount() const override { return 0; }
    [[nodiscard]] QAccessibleInterface *child(int) const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface *childAt(int, int) const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface *focusChild() const override { return nullptr; }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface *) const override { return -1; }

    // QAccessibleEditableTextInterface: each edit sets the view's whole value.
    void deleteText(int startOffset, int endOffset) override;
    void insertText(int offset, const QString &text) override;
    void replaceText(int startOffset, int endOffset, const QString &text) override;

protected:
    [[nodiscard]] QString wholeText() const override;
    [[nodiscard]] QRect textRect() const override { return rect(); }

private:
    AccessibilityAttributes &_attributes;
};

}  // namespace pelorinnews
