#pragma once

#include <QWebEngineView>

namespace pelorinnews {

/// The engine's view, kept from opening the one dialog that it opens without asking: the choice of
/// a colour, which needs no script, just a form field to be clicked. What it paints on takes no
/// keyboard focus and is no window of its own to accessibility clients.
class EngineView final : public QWebEngineView {
    Q_OBJECT

public:
    using QWebEngineView::QWebEngineView;

protected:
    void childEvent(QChildEvent *event) override;
};

}  // namespace pelorinnews
