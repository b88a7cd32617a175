#pragma once

#include "RtfListTable.h"

#include <QByteArray>
#include <QColor>
#include <QHash>
#include <QString>
#include <QStringList>

#include <vector>

namespace pelorinnews {

/// The header tables of an RTF document, which are filled while its body is written: fonts,
/// colours, paragraph styles and lists. The body refers to their entries by number.
class RtfHeader {
public:
    RtfHeader();

    /// The number (`\f`) of the first font in `families`, a CSS `font-family` list. 0, the default
    /// font, for an empty list or if there are too many fonts.
    [[nodiscard]] int font(const QStringList &families);

    /// The number (`\cf`) of `color`; a translucent colour is blended with white. 0, the reading
    /// program's default colour, if there are too many colours.
    [[nodiscard]] int color(const QColor &color);

    [[nodiscard]] RtfListTable &lists() { return _lists; }

    /// The header's bytes, including the opening brace of the document.
    [[nodiscard]] QByteArray bytes() const;

    static QString defaultFontFamily() { return QStringLiteral("Verdana"); }
    static constexpr int defaultFontHalfPoints = 24;

    /// The font size, in half points, of a heading of `level` 1 to 6.
    static int headingHalfPoints(int level);

private:
    QStringList _fonts;
    QHash<QString, int> _fontNumbers;
    std::vector<QRgb> _colors;
    QHash<QRgb, int> _colorNumbers;
    RtfListTable _lists;
};

}  // namespace pelorinnews
