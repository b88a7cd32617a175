#pragma once

#include <QByteArray>
#include <QTextTable>

#include <vector>

namespace pelorinnews {

class RtfHeader;

/// The column positions of a table, and the RTF definition of its rows.
class RtfTableGrid {
public:
    /// `width` is the available width, in twips. The table must outlive the grid.
    RtfTableGrid(const QTextTable &table, int width);

    /// The definition of row `row`, from `\trowd` to the last `\cellx`.
    [[nodiscard]] QByteArray rowDefinition(int row, RtfHeader &header) const;

    /// The width of `cell`, in twips.
    [[nodiscard]] int cellWidth(const QTextTableCell &cell) const;

private:
    [[nodiscard]] QByteArray cellDefinition(const QTextTableCell &cell, RtfHeader &header) const;

    const QTextTable &_table;
    std::vector<int> _rightEdges;
};

}  // namespace pelorinnews
