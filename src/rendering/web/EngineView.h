#pragma once

#include <QWebEngineView>

namespace pelorinnews {

/// The engine's view. Suppresses the one dialog that the engine opens without asking: the colour
/// dialog, which needs no script, only a click on a form field. The widget that the engine paints
/// on takes no keyboard focus and is not a separate window to accessibility clients.
class EngineView final : public QWebEngineView {
    Q_OBJECT

public:
    using QWebEngineView::QWebEngineView;

protected:
    void childEvent(QChildEvent *event) override;
};

}  // namespace pelorinnews
