#pragma once

#include <QToolButton>

namespace pelorinnews {

/// An arrow button to the next or the previous item. The arrow follows the layout direction, and so
/// does the shortcut: Option and the key with that arrow.
class NavigationButton final : public QToolButton {
    Q_OBJECT
    Q_PROPERTY(bool forward READ isForward WRITE setForward)

public:
    explicit NavigationButton(QWidget *parent = nullptr);

    /// True for the next item (the default), false for the previous one.
    [[nodiscard]] bool isForward() const { return _forward; }
    void setForward(bool forward);

protected:
    void changeEvent(QEvent *event) override;

private:
    void updateArrow();

    bool _forward = true;
};

}  // namespace pelorinnews
