#pragma once

#include <QToolButton>

namespace pelorinnews {

/// A disclosure triangle: points in the reading direction while unchecked (folded) and down while
/// checked (unfolded). A click toggles it.
class DisclosureButton final : public QToolButton {
    Q_OBJECT

public:
    explicit DisclosureButton(QWidget *parent = nullptr);

    /// Sets the state without emitting signals.
    void setOpen(bool open);

protected:
    void changeEvent(QEvent *event) override;

private:
    void updateArrow();
};

}  // namespace pelorinnews
