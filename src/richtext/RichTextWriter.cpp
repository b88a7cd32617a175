#include "RichTextWriter.h"

#include "RichTextDocument.h"
#include "RtfCharacterFormat.h"
#include "RtfPicture.h"
#include "RtfTableGrid.h"
#include "RtfText.h"
#include "page/BareHttpLinks.h"
#include "page/BoundedHtml.h"
#include "page/HtmlDocumentRepair.h"

#include <QGuiApplication>
#include <QTextBlock>
#include <QThread>
#include <QUrl>

#include <algorithm>
#include <array>

namespace pelorinnews {

namespace {

// Six inches: the width of the text on a sheet with ordinary margins.
constexpr int textWidth = 8640;
constexpr int cellPadding = 140;
// Beyond these limits, RTF readers lose text or give up. The contents of the cells are then written
// one after another, without a table.
constexpr int maxTableDepth = 8;
constexpr int maxColumns = 63;

const QByteArray &paragraphEnd() {
    static const QByteArray end = "\\par\n";
    return end;
}

/// The URL in the form that the `HYPERLINK` instruction of an RTF field takes. Empty if the
/// document must not contain the link: a link in a pasted text must not run a program or open a
/// file, as a link without a scheme or a host could.
QByteArray linkAddress(const QString &address) {
    static constexpr std::array withHost{"http", "https", "ftp"};
    static constexpr std::array withoutHost{"mailto", "tel", "news"};
    const QUrl url = resolvedAgainstBareHttp(address);
    const auto isAmong = [scheme = url.scheme()](const auto &schemes) {
        return std::any_of(schemes.begin(), schemes.end(),
                           [&](const char *each) { return scheme == QLatin1String(each); });
    };
    const bool carried = isAmong(withoutHost) || (isAmong(withHost) && !url.host().isEmpty());
    if (!carried || !url.isValid())
        return {};
    // With backslashes and quotes percent-encoded, the URL needs only RTF's escapes for text.
    return url.toEncoded().replace('\\', "%5C").replace('"', "%22");
}

bool isTable(const QTextFrame *frame) {
    return qobject_cast<const QTextTable *>(frame) != nullptr;
}

/// Whether `block` is an empty block that exists only because a `QTextDocument` cannot begin with a
/// table.
bool isMadeForTable(const QTextBlock &block, const QTextFrame::iterator &next,
                    const QTextFrame::iterator &end) {
    return block.length() <= 1 && block.userState() < 0 && next != end &&
           isTable(next.currentFrame());
}

}  // namespace

std::optional<QByteArray> richTextFromHtml(const QString &html) {
    if (qGuiApp == nullptr || QThread::currentThread() != qGuiApp->thread())
        return std::nullopt;
    const std::optional<BoundedPage> page = BoundedHtml::prepared(html);
    if (!page)
        return std::nullopt;
    RichTextDocument document;
    document.setHtml(page->html);
    repairHtmlDocument(document, page->items);
    return RichTextWriter(document, *page).write();
}

QByteArray RichTextWriter::write() {
    const QTextFrame *const root = _document.rootFrame();
    const QBrush background = root->frameFormat().background();
    if (isVisible(background))
        _background = background.color();
    writeContents(root->begin(), root->end(), {.tableDepth = 0, .width = textWidth},
                  paragraphEnd());
    return _header.bytes() + _body + "}\n";
}

void RichTextWriter::writeContents(QTextFrame::iterator from, const QTextFrame::iterator &end,
                                   const Place &place, const QByteArray &lastEnd) {
    bool first = true;
    while (from != end) {
        const QTextFrame *const frame = from.currentFrame();
        const QTextBlock block = from.currentBlock();
        ++from;
        const bool last = from == end;
        if (const auto *table = qobject_cast<const QTextTable *>(frame)) {
            writeTable(*table, place);
        } else if (frame != nullptr) {
            writeContents(frame->begin(), frame->end(), place, paragraphEnd());
        } else if (block.isValid() && !(first && isMadeForTable(block, from, end))) {
            writeParagraph(block, place, last ? lastEnd : paragraphEnd());
        }
        first = false;
    }
}

void RichTextWriter::writeParagraph(const QTextBlock &block, const Place &place,
                                    const QByteArray &end) {
    const int item = block.userState();
    const bool known = item >= 0 && static_cast<std::size_t>(item) < _page.items.size();
    _body +=
        rtfParagraphFormat(block,
                           {.item = known ? &_page.items[static_cast<std::size_t>(item)] : nullptr,
                            .tableDepth = place.tableDepth,
                            .spaceBefore = _spaceBelow,
                            .background = place.tableDepth == 0 ? _background : QColor()},
                           _header);
    for (auto fragment = block.begin(); !fragment.atEnd(); ++fragment)
        writeFragment(fragment.fragment());
    closeLink();
    _body += end;
    _spaceBelow = end == paragraphEnd() ? rtfSpaceBelow(block.blockFormat()) : 0;
}

void RichTextWriter::writeFragment(const QTextFragment &fragment) {
    const QTextCharFormat format = fragment.charFormat();
    openLink(format.isAnchor() ? format.anchorHref() : QString());
    const QString text = fragment.text();
    if (format.isImageFormat()) {
        const auto pictures = text.count(QChar(QChar::ObjectReplacementCharacter));
        for (qsizetype i = 0; i < pictures; ++i)
            writePicture(format.toImageFormat());
        return;
    }
    const QByteArray look = rtfCharacterFormat(format, _header);
    if (look.isEmpty()) {
        appendRtfText(_body, text);
        return;
    }
    _body += '{' + look + ' ';
    appendRtfText(_body, text);
    _body += '}';
}

void RichTextWriter::writePicture(const QTextImageFormat &format) {
    const QByteArray picture = rtfPicture(_pictures.read(_page.pictureAddress(format.name())),
                                          QSizeF(format.width(), format.height()));
    if (picture.isEmpty())
        appendRtfText(_body, format.property(QTextFormat::ImageAltText).toString());
    else
        _body += picture;
}

void RichTextWriter::openLink(const QString &address) {
    if (address == _link)
        return;
    closeLink();
    const QByteArray target = linkAddress(address);
    if (target.isEmpty())
        return;
    _link = address;
    _body += "{\\field{\\*\\fldinst{HYPERLINK \"";
    appendRtfText(_body, QString::fromLatin1(target));
    _body += "\"}}{\\fldrslt{";
}

void RichTextWriter::closeLink() {
    if (_link.isEmpty())
        return;
    _body += "}}}";
    _link.clear();
}

void RichTextWriter::writeTable(const QTextTable &table, const Place &place) {
    _spaceBelow = 0;
    if (place.tableDepth >= maxTableDepth || table.columns() > maxColumns) {
        writeCellsInTurn(table, place);
        return;
    }
    const RtfTableGrid grid(table, place.width);
    for (int row = 0; row < table.rows(); ++row)
        writeRow(table, row, grid, place);
}

void RichTextWriter::writeRow(const QTextTable &table, int row, const RtfTableGrid &grid,
                              const Place &place) {
    const bool nested = place.tableDepth > 0;
    const QByteArray definition = grid.rowDefinition(row, _header);
    const QByteArray cellEnd = nested ? "\\nestcell\n" : "\\cell\n";
    if (!nested)
        _body += definition;
    for (int column = 0; column < table.columns();) {
        const QTextTableCell cell = table.cellAt(row, column);
        column = cell.column() + cell.columnSpan();
        if (cell.row() == row) {
            const Place inside{.tableDepth = place.tableDepth + 1,
                               .width = std::max(grid.cellWidth(cell) - cellPadding, cellPadding)};
            writeContents(cell.begin(), cell.end(), inside, cellEnd);
        } else {
            appendRtfWord(_body, "\\pard\\plain\\intbl\\itap", place.tableDepth + 1);
            _body += cellEnd;
        }
    }
    // Repeat the row's definition at its end, because tables inside its cells redefine the current
    // row.
    if (nested)
        _body += "{\\*\\nesttableprops" + definition + "\\nestrow}{\\nonesttables\\par}\n";
    else
        _body += definition + "\\row\n";
}

void RichTextWriter::writeCellsInTurn(const QTextTable &table, const Place &place) {
    for (int row = 0; row < table.rows(); ++row) {
        for (int column = 0; column < table.columns();) {
            const QTextTableCell cell = table.cellAt(row, column);
            column = cell.column() + cell.columnSpan();
            if (cell.row() == row)
                writeContents(cell.begin(), cell.end(), place, paragraphEnd());
        }
    }
}

}  // namespace pelorinnews
