#pragma once

#include "RtfListTable.h"

#include <QByteArray>
#include <QColor>
#include <QHash>
#include <QString>
#include <QStringList>

#include <vector>

namespace pelorinnews {

/// The tables at the head of an RTF document, gathered while its body is written: fonts, colours,
/// paragraph styles and lists. The body refers to their entries by number.
class RtfHeader {
public:
    RtfHeader();

    /// The number of the first font in a list of CSS families. 0, the default font, for an empty
    /// list or if there are too many fonts.
    [[nodiscard]] int font(const QStringList &families);

    /// The number of `color`; a translucent colour is blended with white. 0, the reader's own
    /// colour, if there are too many.
    [[nodiscard]] int color(const QColor &color);

    [[nodiscard]] RtfListTable &lists() { return _lists; }

    /// The header's bytes, from the opening brace of the document on.
    [[nodiscard]] QByteArray bytes() const;

    static QString defaultFontFamily() { return QStringLiteral("Verdana"); }
    static constexpr int defaultFontHalfPoints = 24;

    /// The font size of a heading of `level` 1 to 6.
    static int headingHalfPoints(int level);

private:
    QStringList _fonts;
    QHash<QString, int> _fontNumbers;
    std::vector<QRgb> _colors;
    QHash<QRgb, int> _colorNumbers;
    RtfListTable _lists;
};

}  // namespace pelorinnews
