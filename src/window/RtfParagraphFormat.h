#pragma once

#include <QByteArray>
#include <QTextBlock>

namespace pelorinnews {

class RtfHeader;

/// What a paragraph's place in the document decides.
struct RtfParagraphPlace {
    /// In how many tables it lies.
    int tableDepth = 0;
    /// The space that the paragraph before leaves below itself, in twips; the larger of both
    /// counts, as on a page.
    int spaceBefore = 0;
    /// The colour behind it unless it has its own; invalid for none.
    QColor background;
};

/// The control words at the start of a paragraph, its list's number or bullet included.
[[nodiscard]] QByteArray rtfParagraphFormat(const QTextBlock &block, const RtfParagraphPlace &place,
                                            RtfHeader &header);

/// The space that a paragraph leaves below itself, in twips.
[[nodiscard]] int rtfSpaceBelow(const QTextBlockFormat &format);

}  // namespace pelorinnews
