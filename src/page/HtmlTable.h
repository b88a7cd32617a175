#pragma once

#include "HtmlReader.h"

namespace pelorinnews {

class HtmlCost;

/// The state of one table while a page is rewritten: whether a row and a cell are open, and the
/// size of the table's grid.
class HtmlTable {
public:
    /// `isWritten` is false for a table beyond the limits: its cells are written as blocks.
    explicit HtmlTable(bool isWritten) : _isWritten(isWritten) {}

    [[nodiscard]] bool isWritten() const { return _isWritten; }

    [[nodiscard]] bool isRowOpen() const { return _row; }
    [[nodiscard]] bool isCellOpen() const { return _cell; }

    void openRow(HtmlCost &cost);
    void closeRow() { _row = false; }
    /// `attributes` come from `boundedAttributes`.
    void openCell(const HtmlAttributes &attributes, HtmlCost &cost);
    void closeCell() { _cell = false; }

private:
    [[nodiscard]] qint64 cells() const { return (_rows + _rowsBelow) * _columns; }
    void addCost(qint64 cellsBefore, qint64 spansBefore, HtmlCost &cost);

    bool _isWritten;
    bool _row = false;
    bool _cell = false;
    qint64 _rows = 0;
    qint64 _columns = 0;
    qint64 _columnsOfRow = 0;
    qint64 _columnsFromAbove = 0;
    qint64 _rowsBelow = 0;
    qint64 _spans = 0;
};

}  // namespace pelorinnews
