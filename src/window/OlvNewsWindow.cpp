#include "OlvNewsWindow.h"

#include "OlvNewsWebView.h"

#include <QApplication>
#include <QKeyEvent>
#include <QWindow>

namespace pelorinnews {

OlvNewsWindow::OlvNewsWindow(QWidget *parent) : QWidget(parent, Qt::Window) {
    setAttribute(Qt::WA_QuitOnClose, false);
}

bool OlvNewsWindow::performKeyEquivalent(const QKeyEvent &) {
    return false;
}

void OlvNewsWindow::makeKeyAndOrderFront() {
    if (isMinimized())
        showNormal();
    else
        show();
    raise();
    activateWindow();
}

// The filter sees all of the host's events, so it stands only while the window is shown.
void OlvNewsWindow::showEvent(QShowEvent *event) {
    qApp->installEventFilter(this);
    QWidget::showEvent(event);
}

void OlvNewsWindow::hideEvent(QHideEvent *event) {
    qApp->removeEventFilter(this);
    QWidget::hideEvent(event);
}

bool OlvNewsWindow::askForKeyEquivalent(const QKeyEvent &event) {
    if (performKeyEquivalent(event))
        return true;
    const auto views = findChildren<OlvNewsWebView *>();
    return std::any_of(views.begin(), views.end(), [&event](OlvNewsWebView *view) {
        return view->performKeyEquivalent(event);
    });
}

bool OlvNewsWindow::eventFilter(QObject *watched, QEvent *event) {
    const bool keyPress = event->type() == QEvent::KeyPress && watched == windowHandle();
    if (!keyPress || QApplication::activePopupWidget())
        return QWidget::eventFilter(watched, event);
    return askForKeyEquivalent(*static_cast<QKeyEvent *>(event));
}

}  // namespace pelorinnews
