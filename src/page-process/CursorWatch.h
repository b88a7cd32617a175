#pragma once

#include <QObject>
#include <QTimer>

class QWidget;

namespace pelorinnews {

/// Reports when the engine shows another mouse cursor over its view. The engine sets the cursor
/// some milliseconds after the pointer has moved, and no event tells of it. So this object polls
/// the cursor for a while after each movement.
class CursorWatch final : public QObject {
    Q_OBJECT

public:
    /// `view` must outlive this object.
    explicit CursorWatch(const QWidget &view);

    void pointerMoved();

Q_SIGNALS:
    /// `shape` is one of Qt's built-in `Qt::CursorShape`s, never a custom cursor.
    void changed(int shape);

private:
    void look();

    const QWidget &_view;
    QTimer _timer;
    int _looks = 0;
    int _shape = Qt::ArrowCursor;
};

}  // namespace pelorinnews
