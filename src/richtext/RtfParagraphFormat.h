#pragma once

#include <QByteArray>
#include <QTextBlock>

namespace pelorinnews {

class RtfHeader;
struct PageListItem;

/// What a paragraph's place in the document decides.
struct RtfParagraphPlace {
    /// The item of a list that begins with it; null for none.
    const PageListItem *item = nullptr;
    /// In how many tables it lies.
    int tableDepth = 0;
    /// The space that the paragraph before leaves below itself, in twips; the larger of both
    /// counts, as on a page.
    int spaceBefore = 0;
    /// The colour behind it unless it has its own; invalid for none.
    QColor background;
};

/// What comes before a paragraph's text: its control words, in a list with the item's marker, and
/// the delimiter.
[[nodiscard]] QByteArray rtfParagraphFormat(const QTextBlock &block, const RtfParagraphPlace &place,
                                            RtfHeader &header);

/// The space that a paragraph leaves below itself, in twips.
[[nodiscard]] int rtfSpaceBelow(const QTextBlockFormat &format);

}  // namespace pelorinnews
