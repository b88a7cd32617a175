#pragma once

#include "RtfHeader.h"
#include "RtfParagraphFormat.h"
#include "page/BoundedPage.h"
#include "page/PagePictures.h"

#include <QString>
#include <QTextFrame>
#include <QTextTable>

#include <optional>

namespace pelorinnews {

/// A page's HTML as RTF: headings, character styles, fonts, colours, links, lists, tables,
/// alignment, both writing directions and images embedded in the page.
///
/// Absent if the HTML cannot be turned into a document: for a null text, for a page beyond the
/// limits of `BoundedHtml`, off the main thread, and without a QGuiApplication. HTML without
/// visible content gives a document without text. Reads and requests nothing outside `html`.
[[nodiscard]] std::optional<QByteArray> richTextFromHtml(const QString &html);

/// Writes one text document as RTF. `write` may be called once.
class RichTextWriter {
public:
    /// `document` was made from `page`. Both must outlive the writer and must not change meanwhile.
    RichTextWriter(const QTextDocument &document, const BoundedPage &page)
        : _document(document), _page(page), _pictures(page.pictureTime) {}

    [[nodiscard]] QByteArray write();

private:
    /// The context of the contents being written: table nesting depth, and available width in
    /// twips.
    struct Place {
        int tableDepth = 0;
        int width = 0;
    };

    void writeContents(QTextFrame::iterator from, const QTextFrame::iterator &end,
                       const Place &place, const QByteArray &lastEnd);
    void writeParagraph(const QTextBlock &block, const Place &place, const QByteArray &end);
    void writeFragment(const QTextFragment &fragment);
    void writePicture(const QTextImageFormat &format);
    void openLink(const QString &address);
    void closeLink();
    void writeTable(const QTextTable &table, const Place &place);
    void writeRow(const QTextTable &table, int row, const class RtfTableGrid &grid,
                  const Place &place);
    void writeCellsInTurn(const QTextTable &table, const Place &place);

    const QTextDocument &_document;
    const BoundedPage &_page;
    RtfHeader _header;
    QByteArray _body;
    QString _link;
    QColor _background;
    PagePictures _pictures;
    int _spaceBelow = 0;
};

}  // namespace pelorinnews
