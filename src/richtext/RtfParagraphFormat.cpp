#include "RtfParagraphFormat.h"

#include "RtfCharacterFormat.h"
#include "RtfHeader.h"
#include "RtfText.h"

#include <algorithm>
#include <cmath>

namespace pelorinnews {

namespace {

// 22 inches in twips: the longest length on a page that readers accept.
constexpr int maxTwips = 31680;
constexpr int twipsPerIndent = 40 * twipsPerPixel;

int twips(double pixels) {
    if (!std::isfinite(pixels))
        return 0;
    return static_cast<int>(
        std::lround(std::clamp(pixels * twipsPerPixel, -1.0 * maxTwips, 1.0 * maxTwips)));
}

const char *alignment(Qt::Alignment alignment, bool rightToLeft) {
    if (alignment & Qt::AlignHCenter)
        return "\\qc";
    if (alignment & Qt::AlignJustify)
        return "\\qj";
    // `AlignLeft` means the side where lines begin, unless `AlignAbsolute` is set.
    const bool mirrored = rightToLeft && !(alignment & Qt::AlignAbsolute);
    const bool right = (alignment & Qt::AlignRight) != 0;
    return right != mirrored ? "\\qr" : "\\ql";
}

void appendIndents(QByteArray &out, int left, int first, int right) {
    if (first != 0)
        appendRtfWord(out, "\\fi", first);
    if (left != 0) {
        appendRtfWord(out, "\\li", left);
        appendRtfWord(out, "\\lin", left);
    }
    if (right != 0) {
        appendRtfWord(out, "\\ri", right);
        appendRtfWord(out, "\\rin", right);
    }
}

/// The list's control words, then the item's marker as text. The text is for readers without list
/// support, or for all readers if the list has no entry in the list table.
QByteArray listItem(const PageListItem &item, RtfHeader &header) {
    const int number = header.lists().number(item);
    QByteArray out;
    if (number != 0) {
        appendRtfWord(out, "\\ls", number);
        appendRtfWord(out, "\\ilvl", RtfListTable::level(item));
        out += "{\\listtext";
    }
    out += ' ';
    appendRtfText(out, markerText(item));
    out += "\\tab";
    out += number != 0 ? '}' : ' ';
    return out;
}

}  // namespace

int rtfSpaceBelow(const QTextBlockFormat &format) {
    return std::max(0, twips(format.bottomMargin()));
}

QByteArray rtfParagraphFormat(const QTextBlock &block, const RtfParagraphPlace &place,
                              RtfHeader &header) {
    const QTextBlockFormat format = block.blockFormat();
    const bool rightToLeft = block.textDirection() == Qt::RightToLeft;
    QByteArray out = "\\pard\\plain";
    if (place.tableDepth > 0)
        appendRtfWord(out, "\\intbl\\itap", place.tableDepth);
    const int heading = format.headingLevel();
    if (heading > 0) {
        appendRtfWord(out, "\\s", std::min(heading, 6));
        appendRtfWord(out, "\\outlinelevel", std::min(heading, 6) - 1);
    }
    out += rightToLeft ? "\\rtlpar" : "\\ltrpar";
    out += alignment(format.alignment(), rightToLeft);
    const int spaceAbove = std::max(0, twips(format.topMargin()) - place.spaceBefore);
    if (spaceAbove != 0)
        appendRtfWord(out, "\\sb", spaceAbove);
    if (const int below = rtfSpaceBelow(format); below != 0)
        appendRtfWord(out, "\\sa", below);
    if (isVisible(format.background()))
        appendRtfWord(out, "\\cbpat", header.color(format.background().color()));
    else if (place.background.isValid())
        appendRtfWord(out, "\\cbpat", header.color(place.background));
    if (format.hasProperty(QTextFormat::BlockTrailingHorizontalRulerWidth))
        out += "\\brdrb\\brdrs\\brdrw15\\brsp20";

    const int left =
        twips(format.leftMargin()) + std::clamp(format.indent(), 0, 50) * twipsPerIndent;
    const int right = twips(format.rightMargin());
    if (place.item == nullptr || place.item->marker == ListMarker::None) {
        appendIndents(out, left, twips(format.textIndent()), right);
        return out + ' ';
    }
    // Reserve room for the marker: in a table inside a list, the item may have no indent of its
    // own.
    const int text = std::max(left, twipsPerIndent);
    appendIndents(out, text, -RtfListTable::markerWidth, right);
    appendRtfWord(out, "\\tx", text);
    return out + listItem(*place.item, header);
}

}  // namespace pelorinnews
