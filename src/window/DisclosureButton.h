#pragma once

#include <QToolButton>

namespace pelorinnews {

/// A triangle that folds and unfolds something: it points along the reading direction while
/// unchecked and down while checked. A click turns it.
class DisclosureButton final : public QToolButton {
    Q_OBJECT

public:
    explicit DisclosureButton(QWidget *parent = nullptr);

    /// Turns the triangle without telling anybody.
    void setOpen(bool open);

protected:
    void changeEvent(QEvent *event) override;

private:
    void updateArrow();
};

}  // namespace pelorinnews
