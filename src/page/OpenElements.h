#pragma once

#include "CssStyle.h"
#include "HtmlReader.h"
#include "OpenElement.h"
#include "PageList.h"
#include "PageTables.h"
#include "StyleSheet.h"

#include <QString>

#include <vector>

namespace pelorinnews {

class HtmlCost;
class HtmlWriter;
class PageLooks;

/// The elements of a page that have started and not ended yet. Opens and closes them as browsers
/// do, even where the page omits their tags; decides which tag to write for each, and writes it
/// through `HtmlWriter`. At most 512 elements can be open. The tags of at most 64 of them are
/// written; of the others, only the content is written.
class OpenElements {
public:
    /// All arguments must outlive this object.
    OpenElements(HtmlWriter &writer, PageLooks &looks, HtmlCost &cost)
        : _writer(writer), _looks(looks), _cost(cost), _tables(cost) {}

    /// Opens a shown element. `attributes` and `style` are the page's own.
    void open(HtmlNode node, const HtmlAttributes &attributes, CssStyle style);
    /// Opens a hidden element: neither the element nor anything in it is shown.
    void openHidden(HtmlNode node);
    /// Closes the innermost open element `name` and all in it. No-op if there is none.
    void close(const QString &name);
    /// Closes the elements whose end tags the start tag `next` implies.
    void closeBefore(const HtmlToken &next);

    /// Call this before writing text: opens a cell if a table is open but no cell of it, because
    /// text must be inside a cell.
    void enterCell();
    /// Call this before writing a picture: opens a cell as `enterCell` does, and a block if one has
    /// just ended.
    void enterBlock();

    /// No element can be opened now.
    [[nodiscard]] bool isFull() const;
    [[nodiscard]] bool isHidden() const { return _shownElements >= 0; }
    [[nodiscard]] bool isBesideCells() const { return _tables.isBesideCells(); }
    /// The innermost open element, or the page itself.
    [[nodiscard]] const OpenElement &innermost() const {
        return _open.empty() ? _page : _open.back();
    }
    /// All open elements, outermost first.
    [[nodiscard]] const std::vector<HtmlNode> &path() const { return _path; }
    /// Closes the open lists, and returns the items of all lists.
    [[nodiscard]] std::vector<PageListItem> takeListItems() { return _lists.takeItems(); }

private:
    void giveRole(OpenElement &element);
    void giveTablePart(OpenElement &element);
    void openTable(OpenElement &element, bool fits);
    void markItem(OpenElement &element, const HtmlAttributes &attributes, CssStyle &style);
    void openAnonymous(const QString &name);
    /// Prepares for `next` if it is part of a table: closes the open cell, and also the row unless
    /// `next` is a cell. If `next` is a cell and no row is open, opens a row.
    void leaveCell(const HtmlElement &next);
    void push(OpenElement element, HtmlNode node);
    void pop();
    [[nodiscard]] bool hasRoom() const;

    HtmlWriter &_writer;
    PageLooks &_looks;
    HtmlCost &_cost;
    PageTables _tables;
    PageLists _lists;
    /// Stands for the page itself, around all elements.
    const OpenElement _page;
    std::vector<OpenElement> _open;
    std::vector<HtmlNode> _path;
    int _written = 0;
    bool _bodyWritten = false;
    /// How many elements were open before the current hidden one; -1 outside hidden elements.
    qsizetype _shownElements = -1;
};

}  // namespace pelorinnews
