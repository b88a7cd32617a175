#pragma once

#include "HtmlReader.h"

namespace pelorinnews {

class HtmlCost;

/// One table of a page while it is written: what is open in it, and how large its grid becomes.
class HtmlTable {
public:
    /// `depth`: in how many tables it lies, itself included; 0 for one that is too deep, whose
    /// cells are written as blocks.
    explicit HtmlTable(int depth) : _depth(depth) {}

    [[nodiscard]] bool isWritten() const { return _depth > 0; }

    [[nodiscard]] bool isRowOpen() const { return _row; }
    [[nodiscard]] bool isCellOpen() const { return _cell; }

    void openRow(HtmlCost &work);
    void closeRow() { _row = false; }
    /// `attributes` are bounded ones.
    void openCell(const HtmlAttributes &attributes, HtmlCost &work);
    void closeCell() { _cell = false; }

private:
    [[nodiscard]] qint64 cells() const { return (_rows + _rowsBelow) * _columns; }
    void addWork(qint64 cellsBefore, qint64 spansBefore, HtmlCost &work);

    int _depth;
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
