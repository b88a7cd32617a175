#pragma once

#include <QToolButton>

namespace pelorinnews {

/// An arrow that leads on or back, in the reading direction of its surroundings.
class NavigationButton final : public QToolButton {
    Q_OBJECT
    Q_PROPERTY(bool forward READ isForward WRITE setForward)

public:
    explicit NavigationButton(QWidget *parent = nullptr);

    /// Whether it leads on, to what comes next; it does unless told otherwise.
    [[nodiscard]] bool isForward() const { return _forward; }
    void setForward(bool forward);

protected:
    void changeEvent(QEvent *event) override;

private:
    void updateArrow();

    bool _forward = true;
};

}  // namespace pelorinnews
