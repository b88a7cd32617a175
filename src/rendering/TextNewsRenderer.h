#pragma once

#include "NewsRenderer.h"
#include "page/BoundedPage.h"
#include "page/PagePictures.h"

#include <QTextBrowser>

namespace pelorinnews {

/// Fallback renderer, used where no page process can run: paints a page with Qt's own rich text.
/// Shows images that the page embeds as `data:` URLs, within the limits of `PagePictures`, and
/// fetches nothing. Draws the numbers and bullets of lists itself, because a text document can
/// count from 1 only.
class TextNewsRenderer final : public QTextBrowser, public NewsRenderer {
public:
    explicit TextNewsRenderer(QWidget *parent);

    [[nodiscard]] QWidget *widget() const override { return const_cast<TextNewsRenderer *>(this); }
    [[nodiscard]] QWidget *inputWidget() const override { return widget(); }
    void loadHtmlString(const QString &html, PageKind kind) override;
    void setStandardFontFamily(const QString &family) override;
    void setZoom(int percent) override;
    void setPolicyDelegate(NavigationPolicyDelegate *delegate) override { _policy = delegate; }
    void setLinkObserver(const LinkObserver &observer) override { _links = observer; }

    /// Whether an event is being handled, such as a drag that the user has begun. Do not destroy
    /// the renderer then.
    [[nodiscard]] bool isHandlingEvent() const { return _isHandlingEvent; }

protected:
    bool event(QEvent *event) override;
    QVariant loadResource(int type, const QUrl &name) override;
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void doSetSource(const QUrl &name, QTextDocument::ResourceType type) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    bool focusNextPrevChild(bool next) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    // The middle mouse button clicks links, too; the base class handles only the left one.
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    void layOut();
    void fitPicturesToView();
    void useColours();
    void useFont();
    void reportClick(const QString &link);
    void reportHover(const QString &link, QPoint place);
    void reportFocus(bool hasFocus);
    void paintMarker(QPainter &painter, const QTextBlock &block, const QPointF &place) const;

    BoundedPage _page;
    PageKind _kind = PageKind::Item;
    QString _fontFamily;
    int _zoom = 100;
    PagePictures _pictures;
    QString _pressedLink;
    bool _isHandlingEvent = false;
    /// The link under the pointer; empty if there is none.
    QString _hovered;
    NavigationPolicyDelegate *_policy = nullptr;
    LinkObserver _links;
};

}  // namespace pelorinnews
