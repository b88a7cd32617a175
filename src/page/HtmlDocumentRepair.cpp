#include "HtmlDocumentRepair.h"

#include <QGuiApplication>
#include <QList>
#include <QPalette>
#include <QPixmap>
#include <QSet>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QUrl>

#include <algorithm>
#include <array>

namespace pelorinnews {

namespace {

constexpr QColor pagesLink(0x00, 0x00, 0xee);

struct Run {
    int position;
    int length;
    QTextCharFormat format;
};

bool isSized(const QTextCharFormat &format) {
    return format.hasProperty(QTextFormat::FontPixelSize) ||
           format.hasProperty(QTextFormat::FontPointSize);
}

bool isEnlarged(const QTextCharFormat &format) {
    return format.hasProperty(QTextFormat::FontSizeAdjustment);
}

/// The font size in `format`, so encoded that sizes in different units differ: positive in pixels,
/// negative in points.
double statedSize(const QTextCharFormat &format) {
    return format.hasProperty(QTextFormat::FontPixelSize)
               ? format.intProperty(QTextFormat::FontPixelSize)
               : -format.fontPointSize();
}

/// Applies the `FontSizeAdjustment` of `format` (-2 to 4, for the sizes 1 to 7 of HTML) to its font
/// size.
void enlarge(QTextCharFormat &format) {
    static constexpr std::array<double, 7> factors{0.7, 0.8, 1.0, 1.2, 1.5, 2.0, 2.4};
    const int step = format.intProperty(QTextFormat::FontSizeAdjustment);
    const double factor = factors.at(static_cast<std::size_t>(qBound(0, step + 2, 6)));
    if (format.hasProperty(QTextFormat::FontPixelSize))
        format.setProperty(QTextFormat::FontPixelSize,
                           qRound(format.intProperty(QTextFormat::FontPixelSize) * factor));
    else
        format.setFontPointSize(format.fontPointSize() * factor);
}

/// The sizes that styles give to text outside headings.
QSet<double> ordinarySizes(const QTextDocument &document) {
    QSet<double> sizes;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        if (block.blockFormat().headingLevel() != 0)
            continue;
        for (auto each = block.begin(); !each.atEnd(); ++each) {
            const QTextCharFormat format = each.fragment().charFormat();
            if (isSized(format))
                sizes.insert(statedSize(format));
        }
    }
    return sizes;
}

bool showsPicture(const QTextBlock &block) {
    for (auto each = block.begin(); !each.atEnd(); ++each) {
        if (each.fragment().charFormat().isImageFormat())
            return true;
    }
    return false;
}

/// Sets the new formats. Formatting does not move text, so the positions of later runs stay valid.
void apply(const QList<Run> &runs, QTextCursor &cursor) {
    for (const Run &run : runs) {
        cursor.setPosition(run.position);
        cursor.setPosition(run.position + run.length, QTextCursor::KeepAnchor);
        cursor.setCharFormat(run.format);
    }
}

QSizeF naturalSize(const QTextDocument &document, const QTextImageFormat &picture) {
    return document.resource(QTextDocument::ImageResource, QUrl(picture.name()))
        .value<QPixmap>()
        .size();
}

void enlargePicture(const QTextDocument &document, QTextCharFormat &format, double factor) {
    QTextImageFormat picture = format.toImageFormat();
    if (picture.width() <= 0 && picture.height() <= 0) {
        const QSizeF natural = naturalSize(document, picture);
        picture.setWidth(natural.width());
        picture.setHeight(natural.height());
    }
    if (picture.width() > 0)
        picture.setWidth(picture.width() * factor);
    if (picture.height() > 0)
        picture.setHeight(picture.height() * factor);
    format = picture;
}

/// The size of a picture before `fitPictures` shrank it.
constexpr int sizeBeforeFit = QTextFormat::UserProperty + 1;

/// The size at which the document shows the picture: a side that is not stated follows from the
/// other.
QSizeF shownSize(const QTextDocument &document, const QTextImageFormat &picture) {
    const QSizeF natural = naturalSize(document, picture);
    QSizeF size(picture.width(), picture.height());
    if (size.width() <= 0 && size.height() <= 0)
        return natural;
    if (size.width() <= 0 && natural.height() > 0)
        size.setWidth(natural.width() * size.height() / natural.height());
    if (size.height() <= 0 && natural.width() > 0)
        size.setHeight(natural.height() * size.width() / natural.width());
    return size;
}

void fitPicture(const QTextDocument &document, QTextCharFormat &format, double width) {
    QTextImageFormat picture = format.toImageFormat();
    const bool wasFit = picture.hasProperty(sizeBeforeFit);
    const QSizeF size =
        wasFit ? picture.property(sizeBeforeFit).toSizeF() : shownSize(document, picture);
    const bool isWide = size.width() > width;
    if (!isWide && !wasFit)
        return;
    const double factor = isWide ? width / size.width() : 1;
    picture.setProperty(sizeBeforeFit, size);
    picture.setWidth(size.width() * factor);
    picture.setHeight(size.height() * factor);
    format = picture;
}

}  // namespace

void fitPictures(QTextDocument &document, double width) {
    QList<Run> runs;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const QTextBlockFormat margins = block.blockFormat();
        const double room = std::max(1.0, width - margins.leftMargin() - margins.rightMargin() -
                                              margins.indent() * document.indentWidth());
        for (auto each = block.begin(); !each.atEnd(); ++each) {
            const QTextCharFormat given = each.fragment().charFormat();
            QTextCharFormat format = given;
            if (format.isImageFormat())
                fitPicture(document, format, room);
            if (format != given)
                runs.append({each.fragment().position(), each.fragment().length(), format});
        }
    }
    if (runs.isEmpty())
        return;
    QTextCursor cursor(&document);
    cursor.beginEditBlock();
    apply(runs, cursor);
    cursor.endEditBlock();
}

void repairHtmlDocument(QTextDocument &document, const std::vector<PageListItem> &items) {
    // A heading's format has a font size and a size adjustment, but does not tell whether a style
    // set the size for the heading or for the whole page. If text outside headings has the same
    // size, assume that it is the size of the whole page, and apply the heading's adjustment to it.
    // Otherwise assume that the style set the final size of the heading.
    const QSet<double> ordinary = ordinarySizes(document);
    const QBrush desktopsLink = QGuiApplication::palette().link();
    QList<Run> runs;
    QList<int> pictures;
    QList<int> endsOfLists;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        if (block.blockFormat().lineHeightType() == QTextBlockFormat::ProportionalHeight &&
            showsPicture(block))
            pictures.append(block.position());
        const auto item = static_cast<std::size_t>(block.userState());
        if (block.userState() >= 0 && item < items.size() && items[item].last)
            endsOfLists.append(block.position());
        const bool heading = block.blockFormat().headingLevel() != 0;
        for (auto each = block.begin(); !each.atEnd(); ++each) {
            const QTextCharFormat given = each.fragment().charFormat();
            QTextCharFormat format = given;
            if (isSized(format) && isEnlarged(format)) {
                if (!heading || ordinary.contains(statedSize(format)))
                    enlarge(format);
                format.clearProperty(QTextFormat::FontSizeAdjustment);
            }
            if (format.isAnchor() && format.foreground() == desktopsLink)
                format.setForeground(pagesLink);
            if (format != given)
                runs.append({each.fragment().position(), each.fragment().length(), format});
        }
    }
    QTextCursor cursor(&document);
    cursor.beginEditBlock();
    apply(runs, cursor);
    for (const int position : std::as_const(pictures)) {
        cursor.setPosition(position);
        QTextBlockFormat single;
        single.setLineHeight(0, QTextBlockFormat::SingleHeight);
        cursor.mergeBlockFormat(single);
    }
    for (const int position : std::as_const(endsOfLists)) {
        cursor.setPosition(position);
        QTextBlockFormat apart;
        apart.setBottomMargin(
            std::max<double>(PageLists::margin, cursor.blockFormat().bottomMargin()));
        cursor.mergeBlockFormat(apart);
    }
    cursor.endEditBlock();
}

void enlargeDocument(QTextDocument &document, int percent) {
    if (percent == 100)
        return;
    const double factor = percent / 100.0;
    QList<Run> runs;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (auto each = block.begin(); !each.atEnd(); ++each) {
            const QTextCharFormat given = each.fragment().charFormat();
            QTextCharFormat format = given;
            if (format.hasProperty(QTextFormat::FontPixelSize))
                format.setProperty(
                    QTextFormat::FontPixelSize,
                    std::max(1, qRound(format.intProperty(QTextFormat::FontPixelSize) * factor)));
            else if (isSized(format))
                format.setFontPointSize(format.fontPointSize() * factor);
            if (format.isImageFormat())
                enlargePicture(document, format, factor);
            if (format != given)
                runs.append({each.fragment().position(), each.fragment().length(), format});
        }
    }
    QTextCursor cursor(&document);
    cursor.beginEditBlock();
    apply(runs, cursor);
    cursor.endEditBlock();
}

}  // namespace pelorinnews
