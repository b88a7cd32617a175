#include "EngineView.h"

#include <QChildEvent>
#include <QDialog>

namespace pelorinnews {

void EngineView::childEvent(QChildEvent *event) {
    QWebEngineView::childEvent(event);
    // A child is polished right before it is first shown, so this is the time to hide a dialog.
    auto *dialog = event->polished() ? qobject_cast<QDialog *>(event->child()) : nullptr;
    if (!dialog)
        return;
    dialog->setAttribute(Qt::WA_DontShowOnScreen);
    // Make it non-modal: a modal dialog blocks the view, and keeps blocking it after its end if it
    // was never on the screen.
    dialog->setWindowModality(Qt::NonModal);
    // Queued, so that the dialog is rejected after it has been shown, which happens right after
    // this event.
    QMetaObject::invokeMethod(dialog, &QDialog::reject, Qt::QueuedConnection);
}

bool EngineView::focusNextPrevChild(bool next) {
    Q_EMIT focusLeft(next);
    return true;
}

}  // namespace pelorinnews
