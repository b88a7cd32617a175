#pragma once

#include "HtmlTable.h"

#include <vector>

namespace pelorinnews {

class HtmlCost;

/// The open tables of a page, nested in one another. A page may have 500 tables, nested at most
/// `maxDepth` deep. A table beyond these limits is tracked, but not written; its cells become
/// blocks.
///
/// All functions for rows and cells act on the innermost table, which must be open.
class PageTables {
public:
    static constexpr int maxDepth = 5;

    explicit PageTables(HtmlCost &cost) : _cost(cost) {}

    /// Opens a table, and returns whether it is written. `hasRoom`: whether the elements around the
    /// table leave enough nesting levels for it.
    bool open(bool hasRoom);
    void close();

    void openRow() { _open.back().openRow(_cost); }
    void closeRow() { _open.back().closeRow(); }
    /// `attributes` come from `boundedAttributes`.
    void openCell(const HtmlAttributes &attributes) { _open.back().openCell(attributes, _cost); }
    void closeCell() { _open.back().closeCell(); }

    [[nodiscard]] bool isOpen() const { return !_open.empty(); }
    [[nodiscard]] bool isWritten() const { return _open.back().isWritten(); }
    [[nodiscard]] bool isRowOpen() const { return _open.back().isRowOpen(); }
    [[nodiscard]] bool isCellOpen() const { return _open.back().isCellOpen(); }
    /// A table is open, but no cell of it: text and pictures cannot be written here.
    [[nodiscard]] bool isBesideCells() const { return isOpen() && !isCellOpen(); }

private:
    /// How many written tables are open.
    [[nodiscard]] int depth() const;

    HtmlCost &_cost;
    std::vector<HtmlTable> _open;
    int _written = 0;
};

}  // namespace pelorinnews
