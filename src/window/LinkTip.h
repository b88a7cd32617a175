#pragma once

#include "rendering/NewsRenderer.h"

#include <QTimer>
#include <QWidget>

namespace pelorinnews {

/// Shows the address of the link that the keyboard focus is on, or after a moment of the link under
/// the pointer. Lies beside the link, within the content view, and goes with the next key, click,
/// turn of the wheel or change of the window. A part of the view and not a window, because on
/// Wayland a program cannot place windows. Main thread only.
///
/// Assistive technologies get the focused link as a notification, named by the link's text and
/// described by its address: screen readers speak that at once. A link under the pointer is an
/// ordinary tooltip to them.
class LinkTip final : public QWidget {
    Q_OBJECT

public:
    explicit LinkTip(QWidget *view);

    /// What is shown of an address: all that tells where a click leads, in the letters of ASCII, so
    /// that neither foreign letters nor control characters can deceive. Without a user's name
    /// before the host, which could look like a host. A long address ends with an ellipsis, but not
    /// before the end of its host's name. Null for an empty address.
    [[nodiscard]] static QString text(const QUrl &address);

    /// The link that `pointer` is on; an empty address if it is on none.
    void setLink(LinkPointer pointer, const PageLink &link);

    /// Whose link is shown.
    [[nodiscard]] LinkPointer shown() const { return _shown; }

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void showLink(LinkPointer pointer, const PageLink &link);

    QString _text;
    LinkPointer _shown = LinkPointer::Focus;
    PageLink _hovered;
    QTimer _hoverTimer;
};

}  // namespace pelorinnews
