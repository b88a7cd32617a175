#include "RtfCharacterFormat.h"

#include "RtfHeader.h"
#include "RtfText.h"

#include <array>
#include <cmath>

namespace pelorinnews {

namespace {

/// The font size in half points. A format states the size in points, in pixels or as an HTML size.
int halfPoints(const QTextCharFormat &format) {
    double points = RtfHeader::defaultFontHalfPoints / 2.0;
    if (format.hasProperty(QTextFormat::FontPointSize)) {
        points = format.fontPointSize();
    } else if (format.hasProperty(QTextFormat::FontPixelSize)) {
        points = format.intProperty(QTextFormat::FontPixelSize) * 0.75;
    } else if (format.hasProperty(QTextFormat::FontSizeAdjustment)) {
        // Factors for HTML's sizes 1 to 7, where 3 is the default.
        static constexpr std::array<double, 7> factors{0.65, 0.85, 1.0, 1.15, 1.5, 2.0, 3.0};
        const int size = format.intProperty(QTextFormat::FontSizeAdjustment);
        points *= factors.at(static_cast<std::size_t>(qBound(0, size + 2, 6)));
    }
    if (!(points > 0))
        return RtfHeader::defaultFontHalfPoints;
    return static_cast<int>(std::lround(qBound(1.0, points, 400.0) * 2));
}

void appendDecoration(QByteArray &out, const QTextCharFormat &format) {
    if (format.fontUnderline() || format.underlineStyle() != QTextCharFormat::NoUnderline)
        out += "\\ul";
    if (format.fontStrikeOut())
        out += "\\strike";
    if (format.verticalAlignment() == QTextCharFormat::AlignSuperScript)
        out += "\\super";
    if (format.verticalAlignment() == QTextCharFormat::AlignSubScript)
        out += "\\sub";
    if (format.fontCapitalization() == QFont::AllUppercase)
        out += "\\caps";
    if (format.fontCapitalization() == QFont::SmallCaps)
        out += "\\scaps";
}

void appendColors(QByteArray &out, const QTextCharFormat &format, RtfHeader &header) {
    if (isVisible(format.foreground()))
        appendRtfWord(out, "\\cf", header.color(format.foreground().color()));
    if (!isVisible(format.background()))
        return;
    // Write the background colour twice: no single control word works in all readers.
    const int background = header.color(format.background().color());
    appendRtfWord(out, "\\cb", background);
    appendRtfWord(out, "\\chshdng0\\chcbpat", background);
}

}  // namespace

bool isVisible(const QBrush &brush) {
    return brush.style() != Qt::NoBrush && brush.color().isValid() && brush.color().alpha() > 0;
}

QByteArray rtfCharacterFormat(const QTextCharFormat &format, RtfHeader &header) {
    // RTF has separate control words for the font, size, weight and slant of right-to-left scripts.
    QByteArray ofComplexScripts;
    QByteArray out;
    if (const int font = header.font(format.fontFamilies().toStringList()); font != 0) {
        appendRtfWord(ofComplexScripts, "\\af", font);
        appendRtfWord(out, "\\f", font);
    }
    if (const int size = halfPoints(format); size != RtfHeader::defaultFontHalfPoints) {
        appendRtfWord(ofComplexScripts, "\\afs", size);
        appendRtfWord(out, "\\fs", size);
    }
    if (format.hasProperty(QTextFormat::FontWeight) && format.fontWeight() >= QFont::DemiBold) {
        ofComplexScripts += "\\ab";
        out += "\\b";
    }
    if (format.fontItalic()) {
        ofComplexScripts += "\\ai";
        out += "\\i";
    }
    if (!out.isEmpty())
        out = "\\rtlch" + ofComplexScripts + "\\ltrch" + out;
    appendDecoration(out, format);
    appendColors(out, format, header);
    return out;
}

}  // namespace pelorinnews
