#pragma once

#include "AccessibleText.h"

#include <QAccessibleWidget>

namespace pelorinnews {

class OlvNewsWebView;

/// The content view as assistive technologies see it: one static text without children. Its name
/// and its text are both the view's value, since screen readers differ in which they read, and a
/// client may set the value through the editable-text interface.
class NewsWebViewAccessible final : public QAccessibleWidget,
                                    public AccessibleText,
                                    public QAccessibleEditableTextInterface {
public:
    explicit NewsWebViewAccessible(OlvNewsWebView *view);

    /// Tells clients that the view's value changed from `before`, also when it is the same again.
    static void announceValue(OlvNewsWebView *view, const QString &before);

    using AccessibleText::text;
    [[nodiscard]] QString text(QAccessible::Text which) const override;
    void setText(QAccessible::Text which, const QString &text) override;
    [[nodiscard]] QAccessible::State state() const override;
    void *interface_cast(QAccessible::InterfaceType type) override;

    // No children: what the renderer shows is in the value.
    [[nodiscard]] int childCount() const override { return 0; }
    [[nodiscard]] QAccessibleInterface *child(int) const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface *childAt(int, int) const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface *focusChild() const override { return nullptr; }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface *) const override { return -1; }

    // QAccessibleEditableTextInterface: the value as a whole is what a client changes.
    void deleteText(int startOffset, int endOffset) override;
    void insertText(int offset, const QString &text) override;
    void replaceText(int startOffset, int endOffset, const QString &text) override;

protected:
    [[nodiscard]] QString wholeText() const override;
    [[nodiscard]] QRect textRect() const override { return rect(); }

private:
    [[nodiscard]] OlvNewsWebView *view() const;
};

}  // namespace pelorinnews
