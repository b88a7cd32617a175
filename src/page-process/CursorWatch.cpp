#include "CursorWatch.h"

#include <QWidget>
#include <QWindow>

#include <chrono>
#include <utility>

namespace pelorinnews {

namespace {

constexpr std::chrono::milliseconds interval{20};
constexpr int maxLooks = 15;

}  // namespace

CursorWatch::CursorWatch(const QWidget &view) : _view(view) {
    _timer.setInterval(interval);
    connect(&_timer, &QTimer::timeout, this, &CursorWatch::look);
}

void CursorWatch::pointerMoved() {
    _looks = 0;
    _timer.start();
}

void CursorWatch::look() {
    if (++_looks >= maxLooks)
        _timer.stop();
    const QWindow *window = _view.windowHandle();
    const int shape = window ? window->cursor().shape() : Qt::ArrowCursor;
    if (shape <= Qt::LastCursor && std::exchange(_shape, shape) != shape)
        Q_EMIT changed(shape);
}

}  // namespace pelorinnews
