#pragma once

#include "FrameBuffers.h"
#include "PageInput.h"

#include <QWidget>

namespace pelorinnews {

/// A pop-up of a page process, such as the list of a drop-down field, shown in a window of the
/// host.
class PagePopup final : public QWidget {
    Q_OBJECT

public:
    PagePopup(QWidget *page, PageInput &input, qint32 surface);

    /// Shows the pop-up at `place`, relative to the page, within the page's screen.
    void showAt(const QRect &place, PageChild &child);

    /// Hides the pop-up because the page process has hidden it.
    void hideAsTold();

    /// Shows a frame that the process has sent; false if the message violates the protocol.
    [[nodiscard]] bool takeFrame(PageChild &child, const pageprotocol::FrameReady &frame);

protected:
    void paintEvent(QPaintEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;

private:
    PageInput &_input;
    const qint32 _surface;
    FrameBuffers _frames;
    bool _isOpenInPage = false;
};

}  // namespace pelorinnews
