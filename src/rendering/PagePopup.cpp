#include "PagePopup.h"

#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QWheelEvent>

#include <algorithm>
#include <utility>

namespace pelorinnews {

using namespace pageprotocol;

PagePopup::PagePopup(QWidget *page, PageInput &input, qint32 surface)
    : QWidget(page, Qt::Popup | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint),
      _input(input),
      _surface(surface),
      _frames(surface) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(true);
}

void PagePopup::showAt(const QRect &place, PageChild &child) {
    const QRect screen = parentWidget()->screen()->availableGeometry();
    QRect global(parentWidget()->mapToGlobal(place.topLeft()),
                 place.size().boundedTo(screen.size()));
    global.moveRight(std::min(global.right(), screen.right()));
    global.moveBottom(std::min(global.bottom(), screen.bottom()));
    global.moveLeft(std::max(global.left(), screen.left()));
    global.moveTop(std::max(global.top(), screen.top()));
    const bool isResized = size() != global.size() || !isVisible();
    setGeometry(global);
    _isOpenInPage = true;
    const QSize pixels = (QSizeF(size()) * devicePixelRatioF()).toSize();
    // A desktop without a monitor has a screen of size 0, on which no list fits.
    const bool isPossible = !isResized || (isSize(pixels.width(), pixels.height()) &&
                                           _frames.resize(child, pixels, devicePixelRatioF()));
    if (isPossible)
        show();
    else
        hide();
    if (!isVisible() && std::exchange(_isOpenInPage, false))
        child.send(DismissPopup{_surface});
}

void PagePopup::hideAsTold() {
    _isOpenInPage = false;
    hide();
}

bool PagePopup::takeFrame(PageChild &child, const FrameReady &frame) {
    update();
    return _frames.take(child, frame);
}

void PagePopup::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.fillRect(rect(), Qt::white);
    painter.drawImage(0, 0, _frames.frame());
}

void PagePopup::hideEvent(QHideEvent *event) {
    QWidget::hideEvent(event);
    _frames.release();
    // Tell the process only if it has not hidden the pop-up itself: after that, the process may use
    // the surface's number for another pop-up.
    if (std::exchange(_isOpenInPage, false))
        _input.dismissPopup(_surface);
}

void PagePopup::mousePressEvent(QMouseEvent *event) {
    // The base class closes the pop-up on a press outside it.
    if (!rect().contains(event->pos()))
        return QWidget::mousePressEvent(event);
    _input.sendMouse(_surface, *event, MouseInput::Press);
}

void PagePopup::mouseReleaseEvent(QMouseEvent *event) {
    _input.sendMouse(_surface, *event, MouseInput::Release);
}

void PagePopup::mouseMoveEvent(QMouseEvent *event) {
    _input.sendMouse(_surface, *event, MouseInput::Move);
}

void PagePopup::wheelEvent(QWheelEvent *event) {
    _input.sendWheel(_surface, *event);
}

void PagePopup::keyPressEvent(QKeyEvent *event) {
    _input.sendKey(*event, true);
}

void PagePopup::keyReleaseEvent(QKeyEvent *event) {
    _input.sendKey(*event, false);
}

}  // namespace pelorinnews
