#include "EngineView.h"

#include <QChildEvent>
#include <QDialog>
#include <QQuickWidget>
#include <QQuickWindow>

namespace pelorinnews {

void EngineView::childEvent(QChildEvent *event) {
    QWebEngineView::childEvent(event);
    // With these flags, accessibility clients do not see the canvas as a separate window.
    auto *canvas = event->added() ? qobject_cast<QQuickWidget *>(event->child()) : nullptr;
    if (canvas) {
        canvas->setFocusPolicy(Qt::NoFocus);
        canvas->quickWindow()->setFlags(Qt::Desktop);
    }
    // A child is polished right before it is first shown, so this is the time to hide a dialog.
    auto *dialog = event->polished() ? qobject_cast<QDialog *>(event->child()) : nullptr;
    if (!dialog)
        return;
    dialog->setAttribute(Qt::WA_DontShowOnScreen);
    // Queued, because the dialog is about to be shown: reject it right after that.
    QMetaObject::invokeMethod(dialog, &QDialog::reject, Qt::QueuedConnection);
}

}  // namespace pelorinnews
