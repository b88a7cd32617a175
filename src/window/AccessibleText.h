#pragma once

#include <QAccessible>

namespace pelorinnews {

/// The text interface that assistive technologies get for a text without caret and selection.
class AccessibleText : public QAccessibleTextInterface {
public:
    void selection(int index, int *startOffset, int *endOffset) const override;
    [[nodiscard]] int selectionCount() const override { return 0; }
    void addSelection(int, int) override {}
    void removeSelection(int) override {}
    void setSelection(int, int, int) override {}
    [[nodiscard]] int cursorPosition() const override { return 0; }
    void setCursorPosition(int) override {}
    [[nodiscard]] QString text(int startOffset, int endOffset) const override;
    [[nodiscard]] int characterCount() const override;
    [[nodiscard]] QRect characterRect(int) const override { return textRect(); }
    [[nodiscard]] int offsetAtPoint(const QPoint &) const override { return 0; }
    void scrollToSubstring(int, int) override {}
    QString attributes(int offset, int *startOffset, int *endOffset) const override;

protected:
    [[nodiscard]] virtual QString wholeText() const = 0;
    /// The text's rectangle on the screen.
    [[nodiscard]] virtual QRect textRect() const = 0;
};

}  // namespace pelorinnews
