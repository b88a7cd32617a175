#pragma once

#include <QWidget>

class QKeyEvent;

namespace pelorinnews {

class NavigationButton;

/// The news window. It closes on Escape and on Command-W, and closing it never ends the host.
///
/// Key equivalents are offered to the window first, then to the content views and the navigation
/// buttons in it, before the focused control sees the key. Pop-up lists are windows of their own
/// and keep their keys. The minimum width fits the texts of the controls, up to the width of the
/// screen, and is never below the minimum width in the window description. Main thread only.
class OlvNewsWindow final : public QWidget {
    Q_OBJECT

public:
    explicit OlvNewsWindow(QWidget *parent = nullptr);
    ~OlvNewsWindow() override;

    /// Handles the closing keys; returns whether the event was handled.
    bool performKeyEquivalent(const QKeyEvent &event);

    /// Closes the window as its close button does.
    void performClose() { close(); }

    /// Shows the window if it is closed or minimised, brings it to the front and gives it the
    /// keyboard focus, as far as the desktop lets a program do so.
    void makeKeyAndOrderFront();

    /// Updates the minimum width to fit the texts of the controls; a narrower window grows. After a
    /// text change this also happens automatically, when the event loop delivers the layout
    /// request.
    void updateMinimumWidth();

    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    /// Emitted at the start of the destructor, while the object is still an `OlvNewsWindow`. The
    /// destructor of `QWidget` then reports the closing once more, when the object is no longer an
    /// `OlvNewsWindow`.
    void aboutToBeDestroyed();

protected:
    bool event(QEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    /// The navigation button whose shortcut the key is; null if there is none.
    [[nodiscard]] NavigationButton *buttonFor(const QKeyEvent &event) const;
    [[nodiscard]] bool isOurs(const QKeyEvent &event) const;
    bool askForKeyEquivalent(const QKeyEvent &event);
    bool navigate(const QKeyEvent &event);

    /// The minimum width from the window description; negative until it is first needed.
    int _describedMinimumWidth = -1;
};

}  // namespace pelorinnews
