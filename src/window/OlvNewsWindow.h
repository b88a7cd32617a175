#pragma once

#include <QWidget>

class QKeyEvent;

namespace pelorinnews {

/// The news window. It closes on Escape and on Command-W, and closing it never ends the host.
///
/// Key equivalents are asked of the window first and then of the views in it, whichever control
/// has the focus and before that control sees the key. Pop-up lists are windows of their own and
/// keep their keys. It never gets too narrow for the texts of its controls, but where the screen
/// is, nor narrower than it was described. Main thread only.
class OlvNewsWindow final : public QWidget {
    Q_OBJECT

public:
    explicit OlvNewsWindow(QWidget *parent = nullptr);
    ~OlvNewsWindow() override;

    /// Handles the closing keys; says whether the event was handled.
    bool performKeyEquivalent(const QKeyEvent &event);

    /// Closes the window as its close button does.
    void performClose() { close(); }

    /// Shows the window if it is closed or minimised, brings it to the front and gives it the
    /// keyboard, as far as the desktop lets a program do so.
    void makeKeyAndOrderFront();

    /// Becomes as wide as the texts of its controls need it. By itself it does so, when they
    /// change, with the next events.
    void takeWidthOfTexts();

    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    /// The window is being destroyed, and still whole. Later it tells of its closing once more, as
    /// the plain widget that is left then.
    void ending();

protected:
    bool event(QEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    bool askForKeyEquivalent(const QKeyEvent &event);

    /// Its minimum width before texts had a say; negative until then.
    int _describedMinimumWidth = -1;
};

}  // namespace pelorinnews
