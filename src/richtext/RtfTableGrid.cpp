#include "RtfTableGrid.h"

#include "RtfCharacterFormat.h"
#include "RtfHeader.h"
#include "RtfText.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace pelorinnews {

namespace {

constexpr int minColumnWidth = 120;

int tableWidth(const QTextTableFormat &format, int room) {
    const QTextLength length = format.width();
    double width = room;
    if (length.type() == QTextLength::FixedLength)
        width = length.rawValue() * twipsPerPixel;
    else if (length.type() == QTextLength::PercentageLength)
        width = length.rawValue() / 100 * room;
    // Readers cut off a table that is wider than the available width, so limit it.
    return width > 0 && width < room ? static_cast<int>(width) : room;
}

/// The column width that `length` requests, in twips; 0 if it requests none.
double askedWidth(const QTextLength &length, int width) {
    if (length.type() == QTextLength::FixedLength)
        return std::clamp(length.rawValue() * twipsPerPixel, 0.0, 1.0 * width);
    if (length.type() == QTextLength::PercentageLength)
        return std::clamp(length.rawValue() / 100, 0.0, 1.0) * width;
    return 0;
}

struct BorderSide {
    const char *word;
    QTextFormat::Property width;
    QTextFormat::Property style;
    QTextFormat::Property brush;
};

constexpr std::array<BorderSide, 4> sides{{
    {"\\clbrdrt", QTextFormat::TableCellTopBorder, QTextFormat::TableCellTopBorderStyle,
     QTextFormat::TableCellTopBorderBrush},
    {"\\clbrdrl", QTextFormat::TableCellLeftBorder, QTextFormat::TableCellLeftBorderStyle,
     QTextFormat::TableCellLeftBorderBrush},
    {"\\clbrdrb", QTextFormat::TableCellBottomBorder, QTextFormat::TableCellBottomBorderStyle,
     QTextFormat::TableCellBottomBorderBrush},
    {"\\clbrdrr", QTextFormat::TableCellRightBorder, QTextFormat::TableCellRightBorderStyle,
     QTextFormat::TableCellRightBorderBrush},
}};

const char *lineStyle(QTextFrameFormat::BorderStyle style) {
    switch (style) {
        case QTextFrameFormat::BorderStyle_Dotted:
            return "\\brdrdot";
        case QTextFrameFormat::BorderStyle_Dashed:
            return "\\brdrdash";
        case QTextFrameFormat::BorderStyle_Double:
            return "\\brdrdb";
        default:
            return "\\brdrs";
    }
}

void appendBorder(QByteArray &out, double pixels, QTextFrameFormat::BorderStyle style,
                  const QBrush &brush, RtfHeader &header) {
    out += lineStyle(style);
    // RTF readers accept at most 75 twips as the width of a border line.
    appendRtfWord(out, "\\brdrw",
                  static_cast<int>(std::lround(std::clamp(pixels * twipsPerPixel, 1.0, 75.0))));
    if (isVisible(brush))
        appendRtfWord(out, "\\brdrcf", header.color(brush.color()));
}

QTextFrameFormat::BorderStyle borderStyle(int value) {
    return static_cast<QTextFrameFormat::BorderStyle>(value);
}

}  // namespace

RtfTableGrid::RtfTableGrid(const QTextTable &table, int room) : _table(table) {
    const auto columns = static_cast<std::size_t>(std::max(1, table.columns()));
    const QTextTableFormat format = table.format();
    const int width = tableWidth(format, room);
    const QList<QTextLength> constraints = format.columnWidthConstraints();

    std::vector<double> widths(columns, 0);
    double asked = 0;
    std::size_t open = columns;
    for (std::size_t i = 0; i < columns && static_cast<qsizetype>(i) < constraints.size(); ++i) {
        widths[i] = askedWidth(constraints.at(static_cast<qsizetype>(i)), width);
        asked += widths[i];
        if (widths[i] > 0)
            --open;
    }
    const double share = open == 0 ? 0 : std::max(0.0, width - asked) / static_cast<double>(open);
    double total = 0;
    for (double &column : widths) {
        column = std::max<double>(column > 0 ? column : share, minColumnWidth);
        total += column;
    }
    // If the columns request more than the available width, all shrink in proportion. A table with
    // so many columns that their minimum widths exceed the available width becomes wider than that.
    const double least = static_cast<double>(columns) * minColumnWidth;
    const double scale = std::max<double>(width, least) / total;
    double edge = 0;
    for (const double column : widths) {
        edge += open == 0 || scale < 1 ? column * scale : column;
        _rightEdges.push_back(static_cast<int>(std::lround(edge)));
    }
}

int RtfTableGrid::cellWidth(const QTextTableCell &cell) const {
    const auto first = static_cast<std::size_t>(cell.column());
    const auto last = first + static_cast<std::size_t>(cell.columnSpan()) - 1;
    return _rightEdges.at(last) - (first == 0 ? 0 : _rightEdges.at(first - 1));
}

QByteArray RtfTableGrid::rowDefinition(int row, RtfHeader &header) const {
    const QTextTableFormat format = _table.format();
    QByteArray out = "\\trowd\\trgaph70\\trleft0";
    if (format.layoutDirection() == Qt::RightToLeft)
        out += "\\rtlrow";
    if (row < format.headerRowCount())
        out += "\\trhdr";
    if (format.alignment() & Qt::AlignHCenter)
        out += "\\trqc";
    for (int column = 0; column < _table.columns();) {
        const QTextTableCell cell = _table.cellAt(row, column);
        if (cell.rowSpan() > 1)
            out += cell.row() == row ? "\\clvmgf" : "\\clvmrg";
        out += cellDefinition(cell, header);
        column = cell.column() + cell.columnSpan();
        appendRtfWord(out, "\\cellx", _rightEdges.at(static_cast<std::size_t>(column - 1)));
    }
    return out + '\n';
}

QByteArray RtfTableGrid::cellDefinition(const QTextTableCell &cell, RtfHeader &header) const {
    const QTextTableFormat table = _table.format();
    const QTextCharFormat format = cell.format();
    QByteArray out;
    if (format.verticalAlignment() == QTextCharFormat::AlignMiddle)
        out += "\\clvertalc";
    if (format.verticalAlignment() == QTextCharFormat::AlignBottom)
        out += "\\clvertalb";
    for (const BorderSide &side : sides) {
        const QTextFrameFormat::BorderStyle own = borderStyle(format.intProperty(side.style));
        const double width = format.doubleProperty(side.width);
        if (width > 0 && own != QTextFrameFormat::BorderStyle_None) {
            out += side.word;
            appendBorder(out, width, own, format.brushProperty(side.brush), header);
        } else if (table.border() > 0 &&
                   table.borderStyle() != QTextFrameFormat::BorderStyle_None) {
            out += side.word;
            appendBorder(out, 1, QTextFrameFormat::BorderStyle_Solid, table.borderBrush(), header);
        }
    }
    const QBrush background =
        isVisible(format.background()) ? format.background() : table.background();
    if (isVisible(background))
        appendRtfWord(out, "\\clcbpat", header.color(background.color()));
    return out;
}

}  // namespace pelorinnews
