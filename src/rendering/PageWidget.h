#pragma once

#include "FrameBuffers.h"
#include "PageChild.h"
#include "PageInput.h"

#include <QColor>
#include <QWidget>

#include <map>
#include <utility>

namespace pelorinnews {

class PagePopup;

/// Shows the frames that a page process paints, and sends it the user's input. Without a process,
/// the last frame stays.
class PageWidget final : public QWidget {
    Q_OBJECT

public:
    explicit PageWidget(QWidget *parent);
    ~PageWidget() override;

    /// The process to show from now on; null for none. It must outlive the widget or be replaced.
    void setChild(PageChild *child);

    /// Forgets the shown frame. Until the next frame, the widget shows the plain colour.
    void clear();

    /// While held back, frames arrive but are not shown: the widget shows the plain colour.
    void holdFrames(bool isHeld);

    /// Sets the colour to show where there is no frame.
    void setPlainColour(const QColor &colour);

    /// After `clear`, or when a new process replaces another, frames of pages before `page` are
    /// ignored.
    void waitForPage(qint32 page) { _awaitedPage = page; }

    /// Whether the page gets the keys that the user presses.
    [[nodiscard]] bool isFocused() const;

    /// Tells the process whether the page has the focus. For a process or widget that takes over
    /// while the focus stays, or that missed a change.
    void sendPresentFocus();

    /// The page of the shown frame; -1 if no frame of the present process is shown.
    [[nodiscard]] qint32 shownPage() const { return _shownPage; }

    /// The user's input to the page and its pop-ups.
    [[nodiscard]] PageInput &input() { return _input; }

    /// Handles a message from the process. Returns false if the message violates the protocol.
    [[nodiscard]] bool handle(const pageprotocol::FrameReady &message);
    [[nodiscard]] bool handle(const pageprotocol::PopupShown &message);
    [[nodiscard]] bool handle(const pageprotocol::PopupHidden &message);
    [[nodiscard]] bool handle(const pageprotocol::CursorShape &message);
    [[nodiscard]] bool handle(const pageprotocol::ToolTip &message);
    [[nodiscard]] bool handle(const pageprotocol::InputState &message);
    [[nodiscard]] bool handle(const pageprotocol::Selection &message);
    [[nodiscard]] bool handle(const pageprotocol::CopiedText &message);
    [[nodiscard]] bool handle(const pageprotocol::FocusLeft &message);

    [[nodiscard]] QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;

Q_SIGNALS:
    /// The screen's scale or size, or the palette, may have changed.
    void surroundingsChanged();

    /// The system has no memory or descriptor left for frames.
    void framesFailed();

protected:
    bool event(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void inputMethodEvent(QInputMethodEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void sendFocus(const QFocusEvent &event);
    void sendSize();
    void sendPlace();
    void sendVisibility(bool isVisible);

    PageChild *_child = nullptr;
    PageInput _input;
    FrameBuffers _frames{0};
    /// Pop-ups by surface number. Hidden ones are kept, because a process opens the same list again
    /// and again.
    std::map<qint32, PagePopup *> _popups;
    /// The state of the page's focused element, as the process last reported it.
    pageprotocol::InputState _inputState;
    /// The screen's scale and size for which `surroundingsChanged` was last emitted.
    std::pair<double, QSize> _surroundings;
    QColor _plainColour = Qt::white;
    qint32 _awaitedPage = 0;
    bool _isWaitingForPage = false;
    qint32 _shownPage = -1;
    bool _isHeld = false;
    /// Whether the process has to be told of the size when it has caught up.
    bool _owesSize = false;
    /// The page's position on the screen that was last sent to the process.
    QPoint _place;
};

}  // namespace pelorinnews
