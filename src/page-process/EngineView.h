#pragma once

#include <QWebEngineView>

namespace pelorinnews {

/// The engine's view. Suppresses the colour dialog, the only dialog that the engine opens without
/// asking the page object first. A click on a form field opens it, even without scripts.
class EngineView final : public QWebEngineView {
    Q_OBJECT

public:
    using QWebEngineView::QWebEngineView;

Q_SIGNALS:
    /// Tab or Shift+Tab went past the last or first focusable element of the page.
    void focusLeft(bool isForward);

protected:
    void childEvent(QChildEvent *event) override;
    bool focusNextPrevChild(bool next) override;
};

}  // namespace pelorinnews
