#include "EngineView.h"

#include <QChildEvent>
#include <QDialog>

namespace pelorinnews {

void EngineView::childEvent(QChildEvent *event) {
    QWebEngineView::childEvent(event);
    // A child is polished right before it is first shown.
    auto *dialog = event->polished() ? qobject_cast<QDialog *>(event->child()) : nullptr;
    if (!dialog)
        return;
    dialog->setAttribute(Qt::WA_DontShowOnScreen);
    // Not at once: it is about to be shown.
    QMetaObject::invokeMethod(dialog, &QDialog::reject, Qt::QueuedConnection);
}

}  // namespace pelorinnews
