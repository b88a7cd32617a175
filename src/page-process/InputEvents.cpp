#include "InputEvents.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QMimeData>
#include <QTextCharFormat>
#include <QWidget>
#include <QWindow>
#include <qpa/qplatformdrag.h>
#include <qpa/qwindowsysteminterface.h>

#include <chrono>

namespace pelorinnews::InputEvents {

namespace {

// A place in the window, in device pixels, as window systems report it.
QPointF place(const QWindow &window, qint32 x, qint32 y) {
    return QPointF(x, y) / pageprotocol::positionUnit * window.devicePixelRatio();
}

QPointF globalPlace(const QWindow &window, QPointF local) {
    return QPointF(window.position()) * window.devicePixelRatio() + local;
}

QEvent::Type eventType(qint32 kind) {
    switch (kind) {
        case pageprotocol::MouseInput::Press:
            return QEvent::MouseButtonPress;
        case pageprotocol::MouseInput::Release:
            return QEvent::MouseButtonRelease;
        default:
            return QEvent::MouseMove;
    }
}

ulong now() {
    using namespace std::chrono;
    return static_cast<ulong>(
        duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

void deliverToFocus(QInputMethodEvent &event) {
    if (QObject *focus = QGuiApplication::focusObject())
        QCoreApplication::sendEvent(focus, &event);
}

}  // namespace

void deliver(QWidget &window, const pageprotocol::MouseInput &input) {
    QWindow *handle = window.windowHandle();
    if (!handle)
        return;
    if (input.kind == pageprotocol::MouseInput::Leave) {
        QWindowSystemInterface::handleLeaveEvent(handle);
        return;
    }
    const QPointF local = place(*handle, input.x, input.y);
    // Without an enter event, the engine sees no hovering, on which cursors and tooltips depend.
    if (!window.underMouse())
        QWindowSystemInterface::handleEnterEvent(handle, local, globalPlace(*handle, local));
    QWindowSystemInterface::handleMouseEvent(
        handle, local, globalPlace(*handle, local), Qt::MouseButtons(input.buttonsDown),
        static_cast<Qt::MouseButton>(input.button), eventType(input.kind),
        Qt::KeyboardModifiers(input.modifiers));
}

void deliver(QWidget &window, const pageprotocol::WheelInput &input) {
    QWindow *handle = window.windowHandle();
    if (!handle)
        return;
    const QPointF local = place(*handle, input.x, input.y);
    QWindowSystemInterface::handleWheelEvent(
        handle, now(), local, globalPlace(*handle, local), QPoint(input.pixelsX, input.pixelsY),
        QPoint(input.angleX, input.angleY), Qt::KeyboardModifiers(input.modifiers),
        static_cast<Qt::ScrollPhase>(input.phase), Qt::MouseEventNotSynthesized,
        input.isInverted != 0);
}

void deliver(QWidget &window, const pageprotocol::KeyInput &input) {
    QWindow *handle = window.windowHandle();
    if (!handle)
        return;
    QWindowSystemInterface::handleExtendedKeyEvent(
        handle, input.isPress ? QEvent::KeyPress : QEvent::KeyRelease, input.key,
        Qt::KeyboardModifiers(input.modifiers), static_cast<quint32>(input.scanCode),
        static_cast<quint32>(input.virtualKey), static_cast<quint32>(input.nativeModifiers),
        input.text, input.isAutoRepeat != 0);
}

void deliver(QWidget &window, const pageprotocol::DropText &input) {
    QWindow *handle = window.windowHandle();
    if (!handle)
        return;
    QMimeData data;
    data.setText(input.text);
    const QPoint local = place(*handle, input.x, input.y).toPoint();
    QWindowSystemInterface::handleDrag(handle, &data, local, Qt::CopyAction, {}, {});
    QWindowSystemInterface::handleDrop(handle, &data, local, Qt::CopyAction, {}, {});
}

// The engine focuses a page's first link only if the focus reason is Tab.
void deliver(QWidget &window, const pageprotocol::FocusInput &input) {
    using Now = QWindowSystemInterface::SynchronousDelivery;
    if (input.hasFocus) {
        QWindowSystemInterface::handleWindowActivated<Now>(window.windowHandle());
        const auto reason = static_cast<Qt::FocusReason>(input.reason);
        // Activating the window gives its focus widget the focus, but with another reason. Clear
        // it, so that `setFocus` applies the reason that the host sent.
        QWidget *focused = window.focusWidget();
        if (focused && (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason))
            focused->clearFocus();
        window.setFocus(reason);
        return;
    }
    if (QWidget *focused = window.focusWidget())
        focused->clearFocus();
    QWindowSystemInterface::handleWindowActivated<Now>(nullptr);
}

void deliver(const pageprotocol::CommitText &input) {
    QInputMethodEvent event;
    event.setCommitString(input.text, input.replacedStart, input.replacedLength);
    deliverToFocus(event);
}

void deliver(const pageprotocol::PreeditText &input) {
    QList<QInputMethodEvent::Attribute> attributes{{QInputMethodEvent::Cursor, input.cursor, 1}};
    for (const auto &clause : input.clauses) {
        if (clause.length == 0)
            continue;
        QTextCharFormat format;
        format.setUnderlineStyle(QTextCharFormat::SingleUnderline);
        attributes.append({QInputMethodEvent::TextFormat, clause.start, clause.length, format});
    }
    QInputMethodEvent event(input.text, attributes);
    deliverToFocus(event);
}

}  // namespace pelorinnews::InputEvents
