#pragma once

#include <QByteArray>
#include <QTextBlock>

namespace pelorinnews {

class RtfHeader;
struct PageListItem;

/// The formatting that depends on a paragraph's place in the document.
struct RtfParagraphPlace {
    /// The list item that begins with the paragraph; null if no item begins there.
    const PageListItem *item = nullptr;
    /// Table nesting depth; 0 outside tables.
    int tableDepth = 0;
    /// Space below the previous paragraph, in twips. Margins collapse, as in HTML: only the larger
    /// of this and the paragraph's own space above counts.
    int spaceBefore = 0;
    /// Background colour for a paragraph without its own; invalid for no colour.
    QColor background;
};

/// The RTF before a paragraph's text: control words, the marker if a list item begins here, and the
/// delimiter.
[[nodiscard]] QByteArray rtfParagraphFormat(const QTextBlock &block, const RtfParagraphPlace &place,
                                            RtfHeader &header);

/// The space that a paragraph leaves below itself, in twips.
[[nodiscard]] int rtfSpaceBelow(const QTextBlockFormat &format);

}  // namespace pelorinnews
