#include "TextNewsRenderer.h"

#include "PlainToolTip.h"
#include "StandardFont.h"
#include "page/BareHttpLinks.h"
#include "page/BoundedHtml.h"
#include "page/HtmlDocumentRepair.h"
#include "pageprotocol/PageProtocol.h"

#include <QAbstractTextDocumentLayout>
#include <QFrame>
#include <QHelpEvent>
#include <QImage>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextFrame>
#include <QTextLayout>
#include <QToolTip>

#include <utility>
#include <vector>

namespace pelorinnews {

namespace {

// The default of browsers, for pages that specify nothing else.
constexpr qreal pageMargin = 8;

/// Puts the `alt` text in the place of each image that cannot be shown. Without that, the document
/// leaves a gap of the image's size.
void tellOfPicturesLeftOut(QTextDocument &document) {
    struct LeftOut {
        int position;
        int length;
        QTextCharFormat format;
    };
    std::vector<LeftOut> all;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (auto each = block.begin(); !each.atEnd(); ++each) {
            const QTextFragment fragment = each.fragment();
            const QTextCharFormat format = fragment.charFormat();
            if (!format.isImageFormat())
                continue;
            const QUrl name(format.toImageFormat().name());
            const QVariant picture = document.resource(QTextDocument::ImageResource, name);
            if (picture.typeId() != QMetaType::QPixmap)
                all.push_back({fragment.position(), fragment.length(), format});
        }
    }
    QTextCursor cursor(&document);
    cursor.beginEditBlock();
    // Backwards, because the text is longer than the image that it replaces and shifts later
    // positions.
    for (auto each = all.rbegin(); each != all.rend(); ++each) {
        cursor.setPosition(each->position);
        cursor.setPosition(each->position + each->length, QTextCursor::KeepAnchor);
        QTextCharFormat format = each->format;
        const QString text = format.stringProperty(QTextFormat::ImageAltText).simplified();
        format.setObjectType(QTextFormat::NoObject);
        for (const int property : {QTextFormat::ImageName, QTextFormat::ImageAltText,
                                   QTextFormat::ImageWidth, QTextFormat::ImageHeight})
            format.clearProperty(property);
        cursor.insertText(text, format);
    }
    cursor.endEditBlock();
}

}  // namespace

TextNewsRenderer::TextNewsRenderer(QWidget *parent) : QTextBrowser(parent) {
    setFocusPolicy(Qt::NoFocus);
    setContextMenuPolicy(Qt::NoContextMenu);
    setFrameShape(QFrame::NoFrame);
    setOpenLinks(false);
    setUndoRedoEnabled(false);
    document()->setDocumentMargin(pageMargin);

    useColours();
    useFont();

    connect(this, &QTextBrowser::anchorClicked, this,
            [this](const QUrl &link) { reportClick(link.toString(QUrl::FullyEncoded)); });
}

// This renderer never navigates, so it ignores the delegate's decision.
void TextNewsRenderer::reportClick(const QString &link) {
    if (_policy)
        _policy->webViewDecidePolicyForNavigationAction(NavigationType::LinkClicked,
                                                        resolvedAgainstBareHttp(link));
}

void TextNewsRenderer::loadHtmlString(const QString &html, PageKind kind) {
    _kind = kind;
    reportHover({}, {});
    reportFocus(false);
    _page = BoundedHtml::beginning(html);
    useColours();
    layOut();
    verticalScrollBar()->setValue(0);
}

void TextNewsRenderer::layOut() {
    _pictures = PagePictures(_page.pictureTime);
    // If the scroll bar appeared only later, a long page would be laid out twice.
    setVerticalScrollBarPolicy(_page.isLong ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAsNeeded);
    // The page is laid out once, after all changes, and not after each of them.
    document()->setLayoutEnabled(false);
    setHtml(_page.html);
    tellOfPicturesLeftOut(*document());
    repairHtmlDocument(*document(), _page.items);
    enlargeDocument(*document(), _zoom);
    fitPicturesToView();
    document()->setLayoutEnabled(true);
}

void TextNewsRenderer::fitPicturesToView() {
    // As if the scroll bar were always there: where a picture fits only without the bar, it would
    // shrink and grow again and again.
    const bool hasBar = verticalScrollBar()->isVisibleTo(this);
    const int bar = hasBar ? 0 : verticalScrollBar()->sizeHint().width();
    if (!_page.pictures.isEmpty())
        fitPictures(*document(), viewport()->width() - bar - 2 * document()->documentMargin());
}

void TextNewsRenderer::resizeEvent(QResizeEvent *event) {
    fitPicturesToView();
    QTextBrowser::resizeEvent(event);
}

void TextNewsRenderer::setStandardFontFamily(const QString &family) {
    _fontFamily = family;
    useFont();
}

void TextNewsRenderer::setZoom(int percent) {
    if (std::exchange(_zoom, percent) == percent)
        return;
    // Keep the scroll position, as a fraction of the page's length.
    const QScrollBar &bar = *verticalScrollBar();
    const double place = bar.maximum() > 0 ? double(bar.value()) / bar.maximum() : 0;
    useFont();
    layOut();
    verticalScrollBar()->setValue(qRound(place * verticalScrollBar()->maximum()));
}

// An item is black on white unless it specifies other colours, whatever the desktop's colours are.
void TextNewsRenderer::useColours() {
    QPalette colours;
    if (_kind == PageKind::Item) {
        colours.setColor(QPalette::Base, Qt::white);
        colours.setColor(QPalette::Text, Qt::black);
    }
    setPalette(colours);
}

void TextNewsRenderer::useFont() {
    QFont font(_fontFamily.isEmpty() ? document()->defaultFont().family() : _fontFamily);
    font.setPixelSize(qMax(1, qRound(standardFontPixels() * _zoom / 100.0)));
    if (font != document()->defaultFont())
        document()->setDefaultFont(font);
}

// The base class gives the document the widget's font.
void TextNewsRenderer::changeEvent(QEvent *event) {
    QTextBrowser::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        useFont();
}

// The base class would enlarge only some of the text. The view zooms the page.
void TextNewsRenderer::wheelEvent(QWheelEvent *event) {
    if (event->modifiers().testFlag(Qt::ControlModifier))
        event->ignore();
    else
        QTextBrowser::wheelEvent(event);
}

bool TextNewsRenderer::event(QEvent *event) {
    const QScopedValueRollback handling(_isHandlingEvent, true);
    return QTextBrowser::event(event);
}

void TextNewsRenderer::reportHover(const QString &link, QPoint place) {
    if (std::exchange(_hovered, link) == link || !_links)
        return;
    const QRect line = cursorRect(cursorForPosition(place));
    const QUrl address = link.isEmpty() ? QUrl() : resolvedAgainstBareHttp(link);
    _links(LinkPointer::Mouse, {address, QRect(place.x(), line.y(), 1, line.height()), QString()});
}

// Tab selects the next link.
void TextNewsRenderer::reportFocus(bool hasFocus) {
    if (!_links)
        return;
    const QTextCursor selected = textCursor();
    const QString link = selected.hasSelection() ? selected.charFormat().anchorHref() : QString();
    if (!hasFocus || link.isEmpty()) {
        _links(LinkPointer::Focus, {});
        return;
    }
    // Long words have zero-width spaces, where they may break.
    QString text = selected.selectedText()
                       .remove(QChar(QChar::ObjectReplacementCharacter))
                       .remove(QChar(0x200B))
                       .simplified();
    if (text.isEmpty())
        text = selected.charFormat().stringProperty(QTextFormat::ImageAltText).simplified();
    QTextCursor begin = selected;
    begin.setPosition(selected.selectionStart());
    _links(LinkPointer::Focus,
           {resolvedAgainstBareHttp(QUrl(link).toString(QUrl::FullyEncoded)),
            cursorRect(begin).united(cursorRect(selected)), text.left(pageprotocol::maxLinkText)});
}

void TextNewsRenderer::focusInEvent(QFocusEvent *event) {
    QTextBrowser::focusInEvent(event);
    reportFocus(true);
}

void TextNewsRenderer::focusOutEvent(QFocusEvent *event) {
    QTextBrowser::focusOutEvent(event);
    reportFocus(false);
}

bool TextNewsRenderer::focusNextPrevChild(bool next) {
    const bool hasMoved = QTextBrowser::focusNextPrevChild(next);
    reportFocus(hasMoved);
    return hasMoved;
}

void TextNewsRenderer::mouseMoveEvent(QMouseEvent *event) {
    QTextBrowser::mouseMoveEvent(event);
    reportHover(anchorAt(event->pos()), event->pos());
}

// The base class would show a tooltip that looks like HTML as HTML.
bool TextNewsRenderer::viewportEvent(QEvent *event) {
    const QScopedValueRollback handling(_isHandlingEvent, true);
    if (event->type() == QEvent::Leave)
        reportHover({}, {});
    if (event->type() != QEvent::ToolTip)
        return QTextBrowser::viewportEvent(event);
    const auto *help = static_cast<QHelpEvent *>(event);
    const QString text = cursorForPosition(help->pos()).charFormat().toolTip();
    QToolTip::showText(help->globalPos(), plainToolTip(text), viewport());
    return true;
}

// Never returns an invalid variant: the document would then look for a local file of that name and
// show it.
QVariant TextNewsRenderer::loadResource(int type, const QUrl &name) {
    if (type != QTextDocument::ImageResource)
        return QByteArray("");
    const QImage picture = _pictures.read(_page.pictureAddress(name.toString())).image;
    if (!picture.isNull())
        return QPixmap::fromImage(picture);
    static const QImage nothing = [] {
        QImage image(1, 1, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        return image;
    }();
    return nothing;
}

void TextNewsRenderer::paintEvent(QPaintEvent *event) {
    QTextBrowser::paintEvent(event);
    if (_page.items.empty())
        return;
    QPainter painter(viewport());
    painter.setClipRect(event->rect());
    const QPointF scrolled(horizontalScrollBar()->value(), verticalScrollBar()->value());
    const QRectF visible = QRectF(event->rect()).translated(scrolled);
    // Start at the first visible block. In a table, start at the table's first block, because cells
    // lie side by side.
    const QTextFrame *const root = document()->rootFrame();
    QTextBlock block = cursorForPosition(event->rect().topLeft()).block();
    const QTextFrame *frame = document()->frameAt(block.position());
    while (frame != root && frame->parentFrame() != root)
        frame = frame->parentFrame();
    if (frame != root)
        block = document()->findBlock(frame->firstPosition());
    painter.translate(-scrolled);
    for (; block.isValid(); block = block.next()) {
        const QRectF place = document()->documentLayout()->blockBoundingRect(block);
        if (place.top() > visible.bottom() && document()->frameAt(block.position()) == root)
            return;
        if (block.userState() >= 0 && place.bottom() >= visible.top() &&
            place.top() <= visible.bottom())
            paintMarker(painter, block, place.topLeft());
    }
}

void TextNewsRenderer::paintMarker(QPainter &painter, const QTextBlock &block,
                                   const QPointF &place) const {
    const auto item = static_cast<std::size_t>(block.userState());
    if (item >= _page.items.size() || block.layout()->lineCount() == 0)
        return;
    const QTextLine line = block.layout()->lineAt(0);
    const QTextCharFormat format =
        block.begin().atEnd() ? block.charFormat() : block.begin().fragment().charFormat();
    QFont font = format.font();
    // Marks all font properties as set. The painter would take unset ones from the widget's font.
    font.setResolveMask(QFont::AllPropertiesResolved);
    const QFontMetricsF metrics(font);
    const QString text = markerText(_page.items[item]);
    const qreal space = metrics.horizontalAdvance(QLatin1Char(' '));
    const bool rightToLeft = block.textDirection() == Qt::RightToLeft;
    const QRectF lines = line.naturalTextRect();
    const qreal x = rightToLeft ? lines.right() + space
                                : lines.left() - space - metrics.horizontalAdvance(text);
    painter.setFont(font);
    painter.setLayoutDirection(block.textDirection());
    painter.setPen(format.hasProperty(QTextFormat::ForegroundBrush) ? format.foreground().color()
                                                                    : palette().text().color());
    painter.drawText(place + QPointF(x, line.y() + line.ascent()), text);
}

void TextNewsRenderer::doSetSource(const QUrl &, QTextDocument::ResourceType) {}

void TextNewsRenderer::mousePressEvent(QMouseEvent *event) {
    _pressedLink = event->button() == Qt::MiddleButton ? anchorAt(event->pos()) : QString();
    QTextBrowser::mousePressEvent(event);
}

void TextNewsRenderer::mouseReleaseEvent(QMouseEvent *event) {
    const QString link = std::exchange(_pressedLink, QString());
    if (event->button() == Qt::MiddleButton && !link.isEmpty() && link == anchorAt(event->pos()))
        reportClick(link);
    QTextBrowser::mouseReleaseEvent(event);
}

}  // namespace pelorinnews
