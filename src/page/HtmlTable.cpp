#include "HtmlTable.h"

#include "HtmlCost.h"

#include <algorithm>

namespace pelorinnews {

namespace {

int spanIn(const HtmlAttributes &attributes, const char *name) {
    return std::max(valueOf(attributes, QLatin1String(name)).toInt(), 1);
}

}  // namespace

void HtmlTable::openRow(HtmlCost &cost) {
    const qint64 before = cells();
    _row = true;
    ++_rows;
    _columnsOfRow = 0;
    addCost(before, _spans, cost);
}

void HtmlTable::openCell(const HtmlAttributes &attributes, HtmlCost &cost) {
    const qint64 before = cells();
    const qint64 spansBefore = _spans;
    const int columns = spanIn(attributes, "colspan");
    const int rows = spanIn(attributes, "rowspan");
    _cell = true;
    _columnsOfRow += columns;
    _columns = std::max(_columns, _columnsFromAbove + _columnsOfRow);
    if (rows > 1) {
        _columnsFromAbove += columns;
        _rowsBelow = std::max<qint64>(_rowsBelow, rows);
    }
    if (rows > 1 || columns > 1)
        ++_spans;
    addCost(before, spansBefore, cost);
}

void HtmlTable::addCost(qint64 cellsBefore, qint64 spansBefore, HtmlCost &cost) {
    if (!isWritten())
        return;
    cost.addCells(cells() - cellsBefore);
    cost.addSpans(cells() * _spans - cellsBefore * spansBefore);
}

}  // namespace pelorinnews
