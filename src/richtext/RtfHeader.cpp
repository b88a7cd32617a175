#include "RtfHeader.h"

#include "RtfText.h"

#include <array>

namespace pelorinnews {

namespace {

// RTF readers number fonts and colours in 16 bits or less. No hand-written item comes near these
// limits.
constexpr qsizetype maxFonts = 1000;
constexpr std::size_t maxColors = 10000;

QString fontName(const QStringList &families) {
    if (families.isEmpty())
        return {};
    // An entry of `families` may itself be a list with commas, if the style sheet's text was not
    // split.
    QString name = families.first().section(QLatin1Char(','), 0, 0).trimmed();
    name.remove(QLatin1Char('"')).remove(QLatin1Char('\'')).remove(QLatin1Char(';'));
    if (name.compare(QStringLiteral("monospace"), Qt::CaseInsensitive) == 0)
        return QStringLiteral("Courier New");
    if (name.compare(QStringLiteral("serif"), Qt::CaseInsensitive) == 0)
        return QStringLiteral("Times New Roman");
    if (name.compare(QStringLiteral("sans-serif"), Qt::CaseInsensitive) == 0)
        return RtfHeader::defaultFontFamily();
    return name.left(64);
}

int onWhite(int channel, int alpha) {
    return (channel * alpha + 255 * (255 - alpha)) / 255;
}

}  // namespace

RtfHeader::RtfHeader()
    : _fonts{defaultFontFamily()}, _fontNumbers{{defaultFontFamily().toCaseFolded(), 0}} {}

int RtfHeader::font(const QStringList &families) {
    const QString name = fontName(families);
    if (name.isEmpty())
        return 0;
    const QString key = name.toCaseFolded();
    const auto known = _fontNumbers.constFind(key);
    if (known != _fontNumbers.constEnd())
        return *known;
    if (_fonts.size() >= maxFonts)
        return 0;
    const int number = static_cast<int>(_fonts.size());
    _fonts.append(name);
    _fontNumbers.insert(key, number);
    return number;
}

int RtfHeader::color(const QColor &color) {
    const int alpha = color.alpha();
    const QRgb opaque = qRgb(onWhite(color.red(), alpha), onWhite(color.green(), alpha),
                             onWhite(color.blue(), alpha));
    const auto known = _colorNumbers.constFind(opaque);
    if (known != _colorNumbers.constEnd())
        return *known;
    if (_colors.size() >= maxColors)
        return 0;
    _colors.push_back(opaque);
    const int number = static_cast<int>(_colors.size());
    _colorNumbers.insert(opaque, number);
    return number;
}

int RtfHeader::headingHalfPoints(int level) {
    static constexpr std::array<int, 6> sizes{48, 36, 28, 24, 20, 16};
    return sizes.at(static_cast<std::size_t>(qBound(1, level, 6) - 1));
}

QByteArray RtfHeader::bytes() const {
    QByteArray out = "{\\rtf1\\ansi\\ansicpg1252\\uc1\\deff0\n{\\fonttbl";
    for (qsizetype i = 0; i < _fonts.size(); ++i) {
        appendRtfWord(out, "{\\f", static_cast<int>(i));
        out += "\\fnil\\fcharset0 ";
        appendRtfText(out, _fonts.at(i));
        out += ";}";
    }
    out += "}\n{\\colortbl;";
    for (const QRgb color : _colors) {
        appendRtfWord(out, "\\red", qRed(color));
        appendRtfWord(out, "\\green", qGreen(color));
        appendRtfWord(out, "\\blue", qBlue(color));
        out += ';';
    }
    out += "}\n{\\stylesheet{\\s0\\f0";
    appendRtfWord(out, "\\fs", defaultFontHalfPoints);
    out += " Normal;}";
    for (int level = 1; level <= 6; ++level) {
        appendRtfWord(out, "{\\s", level);
        appendRtfWord(out, "\\sbasedon0\\snext0\\outlinelevel", level - 1);
        appendRtfWord(out, "\\f0\\ab\\b\\afs", headingHalfPoints(level));
        appendRtfWord(out, "\\fs", headingHalfPoints(level));
        appendRtfWord(out, " heading ", level);
        out += ";}";
    }
    out += "}\n";
    out += _lists.bytes();
    return out;
}

}  // namespace pelorinnews
