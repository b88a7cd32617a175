#include "PageWidget.h"

#include "PagePopup.h"
#include "PlainToolTip.h"

#include <QClipboard>
#include <QDragEnterEvent>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QMimeData>
#include <QPainter>
#include <QScreen>
#include <QToolTip>
#include <QWheelEvent>

#include <algorithm>
#include <utility>

namespace pelorinnews {

using namespace pageprotocol;

PageWidget::PageWidget(QWidget *parent) : QWidget(parent) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(true);
    setAcceptDrops(true);
    // A press may open a pop-up, for which the engine has to know the page's position on the
    // screen. `eventFilter` sends it in time, since the engine takes a while to tell its processes.
    // Here it is sent for moves that Qt did not report. It must not change between press and
    // release: these would be at different places on the screen.
    connect(&_input, &PageInput::pressing, this, &PageWidget::sendPlace);
}

PageWidget::~PageWidget() {
    setChild(nullptr);
}

void PageWidget::setChild(PageChild *child) {
    if (_child)
        disconnect(_child, nullptr, this, nullptr);
    _child = child;
    _shownPage = -1;
    _input.setChild(child);
    for (const auto &[surface, popup] : _popups)
        popup->hideAsTold();
    _inputState = {};
    setAttribute(Qt::WA_InputMethodEnabled, false);
    unsetCursor();
    setToolTip({});
    if (!child) {
        _frames.forgetChild();
        return;
    }
    // If a frame of the previous process is shown, keep it until the page is painted.
    _isWaitingForPage = !_frames.frame().isNull();
    connect(child, &PageChild::caughtUp, this, [this] {
        if (_owesSize)
            sendSize();
    });
    sendSize();
    _place = {};
    sendPlace();
    sendVisibility(isVisible() && !window()->isMinimized());
    sendPresentFocus();
}

// The view around the page has the focus, or the page itself if it is used without one.
bool PageWidget::isFocused() const {
    const QWidget *focused = window()->focusWidget();
    return isActiveWindow() && focused && (focused == this || focused->isAncestorOf(this));
}

void PageWidget::sendPresentFocus() {
    _input.sendFocus(isFocused(), Qt::OtherFocusReason);
}

void PageWidget::clear() {
    _frames.clear(_child);
    _isWaitingForPage = true;
    _shownPage = -1;
    update();
}

void PageWidget::holdFrames(bool isHeld) {
    if (std::exchange(_isHeld, isHeld) != isHeld)
        update();
}

void PageWidget::setPlainColour(const QColor &colour) {
    if (std::exchange(_plainColour, colour) != colour)
        update();
}

bool PageWidget::handle(const FrameReady &message) {
    if (message.surface != 0) {
        const auto popup = _popups.find(message.surface);
        return popup == _popups.end() || popup->second->takeFrame(*_child, message);
    }
    // A frame that comes after the window was closed would be kept until it opens again, when the
    // page may be another.
    // A new engine paints white before the page, which would flash where another colour is shown.
    const bool wouldFlash = _frames.frame().isNull() && _plainColour != Qt::white;
    if (!isVisible() || ((_isWaitingForPage || wouldFlash) && message.page < _awaitedPage))
        return _frames.giveBack(*_child, message);
    _isWaitingForPage = false;
    update();
    if (!_frames.take(*_child, message))
        return false;
    // A frame of an earlier size is not shown.
    if (_frames.shows(message))
        _shownPage = message.page;
    return true;
}

bool PageWidget::handle(const PopupShown &message) {
    // Without user input, a page may not open a pop-up.
    if (!isVisible() || !_input.isInUse()) {
        _input.dismissPopup(message.surface);
        return true;
    }
    PagePopup *&popup = _popups[message.surface];
    if (!popup)
        popup = new PagePopup(this, _input, message.surface);
    popup->showAt(QRect(message.x, message.y, message.width, message.height), *_child);
    return true;
}

bool PageWidget::handle(const PopupHidden &message) {
    const auto popup = _popups.find(message.surface);
    if (popup != _popups.end())
        popup->second->hideAsTold();
    return true;
}

bool PageWidget::handle(const CursorShape &message) {
    setCursor(static_cast<Qt::CursorShape>(message.shape));
    return true;
}

bool PageWidget::handle(const ToolTip &message) {
    setToolTip(plainToolTip(message.text));
    if (message.text.isEmpty() && QToolTip::isVisible())
        QToolTip::hideText();
    return true;
}

bool PageWidget::handle(const InputState &message) {
    _inputState = message;
    _input.setTakesText(message.takesText != 0);
    setAttribute(Qt::WA_InputMethodEnabled, message.takesText != 0);
    QGuiApplication::inputMethod()->update(Qt::ImQueryAll);
    return true;
}

bool PageWidget::handle(const Selection &message) {
    QClipboard *clipboard = QGuiApplication::clipboard();
    if (_input.isInUse() && !message.text.isEmpty() && clipboard->supportsSelection())
        clipboard->setText(message.text, QClipboard::Selection);
    return true;
}

bool PageWidget::handle(const CopiedText &message) {
    if (_input.takeCopying() && !message.text.isEmpty())
        QGuiApplication::clipboard()->setText(message.text);
    return true;
}

bool PageWidget::handle(const FocusLeft &message) {
    if (_input.takeFocusKey() && isFocused())
        focusNextPrevChild(message.isForward != 0);
    return true;
}

QVariant PageWidget::inputMethodQuery(Qt::InputMethodQuery query) const {
    switch (query) {
        case Qt::ImEnabled:
            return _inputState.takesText != 0;
        case Qt::ImHints:
            return _inputState.hints;
        case Qt::ImCursorRectangle:
            return QRect(_inputState.x, _inputState.y, _inputState.width, _inputState.height);
        case Qt::ImSurroundingText:
            return _inputState.text;
        case Qt::ImCursorPosition:
            return _inputState.cursor;
        case Qt::ImAnchorPosition:
            return _inputState.anchor;
        default:
            return QWidget::inputMethodQuery(query);
    }
}

bool PageWidget::event(QEvent *event) {
    if (event->type() == QEvent::ShortcutOverride) {
        event->setAccepted(_input.isForTextField(*static_cast<QKeyEvent *>(event)));
        return event->isAccepted();
    }
    // `QWidget::event` would move the focus on Tab. In a page, Tab first goes from link to link;
    // `FocusLeft` reports when it has passed the last one.
    if (event->type() == QEvent::KeyPress && _child) {
        keyPressEvent(static_cast<QKeyEvent *>(event));
        return true;
    }
    return QWidget::event(event);
}

void PageWidget::changeEvent(QEvent *event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        Q_EMIT surroundingsChanged();
}

void PageWidget::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    const QImage frame = _isHeld ? QImage() : _frames.frame();
    if (frame.isNull() || frame.deviceIndependentSize().width() < width() ||
        frame.deviceIndependentSize().height() < height())
        painter.fillRect(rect(), _plainColour);
    painter.drawImage(0, 0, frame);
    // Qt repaints a widget that moves to a screen of another scale, so this is the place to check.
    const std::pair now(devicePixelRatioF(), screen()->geometry().size());
    if (std::exchange(_surroundings, now) != now)
        Q_EMIT surroundingsChanged();
}

void PageWidget::sendSize() {
    // While the process does not read its messages, the buffers of each new size would pile up.
    _owesSize = _child && _child->isBehind();
    const QSize pixels = (QSizeF(size()) * devicePixelRatioF()).toSize();
    if (_child && !_owesSize && isSize(pixels.width(), pixels.height()) &&
        !_frames.resize(*_child, pixels, devicePixelRatioF()))
        Q_EMIT framesFailed();
}

void PageWidget::sendPlace() {
    const QPoint place = mapToGlobal(QPoint()) - screen()->geometry().topLeft();
    if (_child && std::exchange(_place, place) != place)
        _child->send(ViewPlace{std::clamp(place.x(), -maxSide, maxSide),
                               std::clamp(place.y(), -maxSide, maxSide)});
}

void PageWidget::sendVisibility(bool isVisible) {
    if (_child)
        _child->send(Visibility{isVisible ? 1 : 0});
}

void PageWidget::resizeEvent(QResizeEvent *) {
    sendSize();
    // A process that hangs would not paint the new size.
    Q_EMIT _input.sent();
}

bool PageWidget::eventFilter(QObject *, QEvent *event) {
    if (event->type() == QEvent::Move && QGuiApplication::mouseButtons() == Qt::NoButton)
        sendPlace();
    return false;
}

void PageWidget::showEvent(QShowEvent *) {
    window()->installEventFilter(this);
    sendPlace();
    sendVisibility(true);
}

// Also called when the window is minimised; `isVisible` remains true then.
void PageWidget::hideEvent(QHideEvent *) {
    for (const auto &[surface, popup] : _popups)
        popup->hide();
    sendVisibility(false);
}

void PageWidget::mousePressEvent(QMouseEvent *event) {
    _input.sendMouse(0, *event, MouseInput::Press);
}

void PageWidget::mouseReleaseEvent(QMouseEvent *event) {
    _input.sendMouse(0, *event, MouseInput::Release);
}

void PageWidget::mouseDoubleClickEvent(QMouseEvent *event) {
    _input.sendMouse(0, *event, MouseInput::Press);
}

void PageWidget::mouseMoveEvent(QMouseEvent *event) {
    _input.sendMouse(0, *event, MouseInput::Move);
}

void PageWidget::leaveEvent(QEvent *) {
    _input.sendLeave();
}

void PageWidget::wheelEvent(QWheelEvent *event) {
    // With Control, the wheel zooms the page; the content view handles that.
    if (event->modifiers().testFlag(Qt::ControlModifier)) {
        event->ignore();
        return;
    }
    _input.sendWheel(0, *event);
    event->accept();
}

void PageWidget::keyPressEvent(QKeyEvent *event) {
    _input.sendKey(*event, true);
    event->accept();
}

void PageWidget::keyReleaseEvent(QKeyEvent *event) {
    _input.sendKey(*event, false);
    event->accept();
}

void PageWidget::sendFocus(const QFocusEvent &event) {
    // A pop-up of the page takes the focus from this widget. If the page lost the focus, too, the
    // engine would close the pop-up.
    if (event.reason() == Qt::PopupFocusReason)
        return;
    _input.sendFocus(event.gotFocus(), event.reason());
}

void PageWidget::focusInEvent(QFocusEvent *event) {
    sendFocus(*event);
}

void PageWidget::focusOutEvent(QFocusEvent *event) {
    sendFocus(*event);
}

void PageWidget::inputMethodEvent(QInputMethodEvent *event) {
    _input.sendInputMethod(*event);
    event->accept();
}

void PageWidget::dragEnterEvent(QDragEnterEvent *event) {
    // Only a copy: after a move, the source would delete the text, even if no field took it.
    if (event->mimeData()->hasText() && event->possibleActions().testFlag(Qt::CopyAction)) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
    }
}

void PageWidget::dropEvent(QDropEvent *event) {
    _input.sendDrop(event->position(), event->mimeData()->text());
    event->setDropAction(Qt::CopyAction);
    event->accept();
}

}  // namespace pelorinnews
