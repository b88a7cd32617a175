#pragma once

#include <QObject>
#include <QRect>

class QWidget;

namespace pelorinnews {

/// Finds the pop-ups that the engine opens beside its view, such as the list of a drop-down field.
class PopupWindows final : public QObject {
    Q_OBJECT

public:
    /// `view` must outlive this object.
    explicit PopupWindows(QWidget &view);

Q_SIGNALS:
    /// A pop-up was opened, moved or resized. `place` is relative to the view.
    void shown(QWidget *popup, const QRect &place);
    void hidden(QWidget *popup);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget &_view;
};

}  // namespace pelorinnews
