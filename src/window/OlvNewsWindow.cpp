#include "OlvNewsWindow.h"

#include "ControlOutlines.h"
#include "KeyEquivalent.h"
#include "NavigationButton.h"
#include "OlvNewsWebView.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QKeyEvent>
#include <QLayout>
#include <QScreen>
#include <QWindow>

#include <algorithm>

namespace pelorinnews {

namespace {

// Qt presents a plain QWidget as a part of a window, and does not tell accessibility clients when
// it becomes active. So give the news window the role of a window.
QAccessibleInterface *accessibleFor(const QString &, QObject *object) {
    auto *const window = qobject_cast<OlvNewsWindow *>(object);
    return window ? new QAccessibleWidget(window, QAccessible::Window) : nullptr;
}

}  // namespace

OlvNewsWindow::OlvNewsWindow(QWidget *parent) : QWidget(parent, Qt::Window) {
    QAccessible::installFactory(accessibleFor);
    setAttribute(Qt::WA_QuitOnClose, false);
}

OlvNewsWindow::~OlvNewsWindow() {
    Q_EMIT aboutToBeDestroyed();
}

bool OlvNewsWindow::performKeyEquivalent(const QKeyEvent &event) {
    if (!isKeyEquivalent(event, escapeKeyEquivalent) && !isKeyEquivalent(event, closeKeyEquivalent))
        return false;
    performClose();
    return true;
}

void OlvNewsWindow::makeKeyAndOrderFront() {
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}

// The layout decides about the minimum width only. `OptionsFold` sets the minimum height, which
// changes while the options fold.
void OlvNewsWindow::updateMinimumWidth() {
    if (!layout())
        return;
    if (_describedMinimumWidth < 0)
        _describedMinimumWidth = minimumWidth();
    layout()->activate();
    const int frame = frameGeometry().width() - width();
    const int room = screen()->availableGeometry().width() - frame;
    setMinimumWidth(qMax(_describedMinimumWidth, qMin(layout()->totalMinimumSize().width(), room)));
}

bool OlvNewsWindow::event(QEvent *event) {
    switch (event->type()) {
        case QEvent::LayoutRequest:
            updateMinimumWidth();
            break;
        case QEvent::Polish:
        case QEvent::PaletteChange:
        case QEvent::StyleChange:
            updateControlOutlines(*this);
            break;
        default:
            break;
    }
    return QWidget::event(event);
}

// The filter sees all events of the host, so it is installed only while the window is shown.
void OlvNewsWindow::showEvent(QShowEvent *event) {
    qApp->installEventFilter(this);
    QWidget::showEvent(event);
}

void OlvNewsWindow::hideEvent(QHideEvent *event) {
    qApp->removeEventFilter(this);
    QWidget::hideEvent(event);
}

NavigationButton *OlvNewsWindow::buttonFor(const QKeyEvent &event) const {
    const auto buttons = findChildren<NavigationButton *>();
    const auto found =
        std::find_if(buttons.begin(), buttons.end(), [&event](const NavigationButton *button) {
            return isKeyEquivalent(event, button->shortcut());
        });
    return found == buttons.end() ? nullptr : *found;
}

bool OlvNewsWindow::isOurs(const QKeyEvent &event) const {
    return isKeyEquivalent(event, escapeKeyEquivalent) ||
           isKeyEquivalent(event, closeKeyEquivalent) ||
           isKeyEquivalent(event, copyKeyEquivalent) ||
           isKeyEquivalent(event, copyLinkKeyEquivalent) || zoomStep(event) || buttonFor(event);
}

// While the user types in a field of the page, the keys do nothing: another item would take the
// place of what was typed.
bool OlvNewsWindow::navigate(const QKeyEvent &event) {
    NavigationButton *button = buttonFor(event);
    const auto *view = qobject_cast<const OlvNewsWebView *>(focusWidget());
    if (button && !(view && view->takesText()))
        button->click();
    return button != nullptr;
}

bool OlvNewsWindow::askForKeyEquivalent(const QKeyEvent &event) {
    if (performKeyEquivalent(event))
        return true;
    const auto views = findChildren<OlvNewsWebView *>();
    const bool isTheViews = std::any_of(views.begin(), views.end(), [&event](OlvNewsWebView *view) {
        return view->performKeyEquivalent(event);
    });
    return isTheViews || navigate(event);
}

bool OlvNewsWindow::eventFilter(QObject *watched, QEvent *event) {
    const auto type = event->type();
    if ((type != QEvent::KeyPress && type != QEvent::ShortcutOverride) || !isActiveWindow() ||
        QApplication::activePopupWidget())
        return QWidget::eventFilter(watched, event);
    const auto &keyEvent = *static_cast<QKeyEvent *>(event);
    if (type == QEvent::ShortcutOverride) {
        // Accepting the event claims the key before the host's shortcuts do; the key then arrives
        // as a key press.
        if (!isOurs(keyEvent))
            return QWidget::eventFilter(watched, event);
        event->accept();
        return true;
    }
    // A key press reaches the `QWindow` first and the widgets after it. Only the first event is
    // checked, so that each press is offered once.
    return watched == windowHandle() && askForKeyEquivalent(keyEvent);
}

}  // namespace pelorinnews
