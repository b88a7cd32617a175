#include "TextNewsRenderer.h"

#include "BareHttpLinks.h"
#include "BoundedHtml.h"
#include "HtmlDocumentRepair.h"

#include <QFrame>
#include <QImage>
#include <QMouseEvent>
#include <QScrollBar>

#include <utility>

namespace pelorinnews {

namespace {

// What browsers give a page that asks for nothing else.
constexpr int standardFontPixels = 16;
constexpr qreal pageMargin = 8;

}  // namespace

TextNewsRenderer::TextNewsRenderer(QWidget *parent) : QTextBrowser(parent) {
    setFocusPolicy(Qt::NoFocus);
    setContextMenuPolicy(Qt::NoContextMenu);
    setFrameShape(QFrame::NoFrame);
    setOpenLinks(false);
    setUndoRedoEnabled(false);
    document()->setDocumentMargin(pageMargin);

    // A page is black on white unless it says otherwise, whatever the desktop's colours.
    QPalette colours = palette();
    colours.setColor(QPalette::Base, Qt::white);
    colours.setColor(QPalette::Text, Qt::black);
    setPalette(colours);

    connect(this, &QTextBrowser::anchorClicked, this,
            [this](const QUrl &link) { reportClick(link.toString(QUrl::FullyEncoded)); });
}

// The page never goes anywhere by itself, so it does not matter what the delegate decides.
void TextNewsRenderer::reportClick(const QString &link) {
    if (_policy)
        _policy->webViewDecidePolicyForNavigationAction(NavigationType::LinkClicked,
                                                        resolvedAgainstBareHttp(link));
}

void TextNewsRenderer::loadHtmlString(const QString &html) {
    _pictures = {};
    setHtml(BoundedHtml::beginning(html));
    repairHtmlDocument(*document());
    verticalScrollBar()->setValue(0);
}

void TextNewsRenderer::setStandardFontFamily(const QString &family) {
    QFont font(family);
    font.setPixelSize(standardFontPixels);
    document()->setDefaultFont(font);
}

// Something is always given: where nothing is, the document looks for a file of that name itself,
// and shows it.
QVariant TextNewsRenderer::loadResource(int type, const QUrl &name) {
    if (type != QTextDocument::ImageResource)
        return QByteArray("");
    const QImage picture = _pictures.read(name.toString(QUrl::FullyEncoded)).image;
    if (!picture.isNull())
        return QPixmap::fromImage(picture);
    static const QImage nothing = [] {
        QImage image(1, 1, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        return image;
    }();
    return nothing;
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
