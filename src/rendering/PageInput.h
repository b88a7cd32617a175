#pragma once

#include "PageChild.h"

#include <QObject>
#include <QPointF>

#include <chrono>

class QFocusEvent;
class QInputMethodEvent;
class QKeyEvent;
class QMouseEvent;
class QWheelEvent;

namespace pelorinnews {

/// Sends the user's input on a page and its pop-ups to the page process, and records what the user
/// has done. A page process may act on the desktop (report a clicked link, change a clipboard) only
/// in response to input. Main thread only.
class PageInput final : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// The process that gets the input from now on; null for none.
    void setChild(PageChild *child);

    /// Forgets what the user did on the previous page.
    void beginPage();

    /// Sets whether a text field of the page has the focus.
    void setTakesText(bool takesText);

    /// `kind` is a `MouseInput::Kind`.
    void sendMouse(qint32 surface, const QMouseEvent &event, qint32 kind);
    void sendLeave();
    void sendWheel(qint32 surface, const QWheelEvent &event);
    void sendKey(const QKeyEvent &event, bool isPress);
    void sendFocus(bool hasFocus, Qt::FocusReason reason);
    void sendInputMethod(const QInputMethodEvent &event);
    void sendDrop(QPointF place, const QString &text);
    void dismissPopup(qint32 surface);

    /// Each key press and each release of a mouse button permits the page process to report one
    /// clicked link. Uses up one such permission; false if none is left.
    [[nodiscard]] bool takeAction();

    /// Each press of a key that cuts or copies in a text field permits the page process to change
    /// the clipboard once within five seconds. Uses up one such permission; false if none is left.
    [[nodiscard]] bool takeCopying();

    /// Sends the primary selection, and the key that pastes it. Each middle click permits the page
    /// process to ask for that once within five seconds. Uses up one such permission; no-op if none
    /// is left.
    void pasteSelection();

    /// Each press of a Tab key permits the page process to move the focus out of the page once.
    /// Uses up one such permission; false if none is left.
    [[nodiscard]] bool takeFocusKey();

    /// Whether the user has done something on the present page.
    [[nodiscard]] bool isInUse() const { return _isInUse; }

    /// Whether a text field of the page uses the key, so that the key must not trigger the host's
    /// shortcuts.
    [[nodiscard]] bool isForTextField(const QKeyEvent &event) const;

Q_SIGNALS:
    /// A key or button is pressed. Emitted before the process is told of it.
    void pressing();

    /// Input or a new size was sent to the process, which should now show that it does not hang.
    void sent();

private:
    template <class Message>
    void send(const Message &message) {
        if (_child)
            _child->send(message);
    }
    void cancelComposition();
    void countAction();
    void countMiddleClick(QPointF released);
    void countFocusKey();

    PageChild *_child = nullptr;
    bool _takesText = false;
    /// Whether the input method shows a text in the page that it has not entered yet.
    bool _isComposing = false;
    /// Where a mouse button was last pressed, in the surface's coordinates.
    QPointF _pressPlace;
    /// How many key presses and button releases still permit a report of a clicked link.
    int _actions = 0;
    /// How many presses of a Tab key still permit the process to move the focus.
    int _focusKeys = 0;
    bool _isInUse = false;

    /// How often the process may still access a clipboard, and until when.
    class Permissions {
    public:
        void add();
        /// Uses up one permission; false if none is left.
        [[nodiscard]] bool take();

    private:
        int _count = 0;
        std::chrono::steady_clock::time_point _end;
    };
    Permissions _copies;
    Permissions _pastes;
};

}  // namespace pelorinnews
