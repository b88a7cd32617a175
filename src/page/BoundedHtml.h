#pragma once

#include "BoundedPage.h"
#include "CssStyle.h"
#include "HtmlCost.h"
#include "HtmlReader.h"
#include "HtmlTable.h"
#include "HtmlTextWriter.h"
#include "PageLooks.h"
#include "StyleSheet.h"

#include <QHash>
#include <QString>

#include <optional>
#include <vector>

namespace pelorinnews {

/// Rewrites a page for a text document, in which some kilobytes of hostile or careless HTML can use
/// the CPU for minutes. Only what is known to be harmless reaches the document: elements that it
/// knows, attributes and styles with values of a known form within bounds, no style sheet, no
/// lists, and tables and nesting of limited depth. Everything else is left out, but its text stays.
///
/// Loading, layout and painting of the result take a document about a quarter of a second at most,
/// on the computer on which the rates of `HtmlCost` were measured. Pages beyond that are some
/// hundred thousand words long, or hostile; they are truncated when shown, and not copied.
class BoundedHtml {
public:
    /// The whole page, for a document that is copied from; absent if `html` is null or costs too
    /// much.
    static std::optional<BoundedPage> prepared(const QString &html);

    /// As much of the page, from its beginning, as a document can load and lay out in time. A
    /// truncated page ends with an ellipsis.
    static BoundedPage beginning(const QString &html);

private:
    enum class Role { Plain, List, Table, Row, Cell };

    struct Element {
        /// The name in the page; empty for an element that the page does not have.
        QString name;
        /// The properties of that element; never null.
        const HtmlElement *kind = nullptr;
        /// The name in the document; empty if only the content is written.
        QString written;
        Role role = Role::Plain;
        QString direction;
        size_t look = 0;
        size_t font = 0;
        /// Index among the page's list items; -1 for other elements.
        int item = -1;
        /// How much narrower its lines are than the page's or the cell's, in pixels.
        int indent = 0;
        bool preserved = false;
    };

    BoundedHtml(const QString &html, HtmlCost::Purpose purpose)
        : _reader(html), _cost(purpose), _text(_page.html, _cost) {}

    // False if the page costs too much; what was written until then stays.
    bool run();
    void read(const HtmlToken &token);
    void start(const HtmlToken &token);
    void end(const QString &name);
    void startVoid(const QString &name, const HtmlAttributes &attributes, const CssStyle &style);
    void open(const QString &name, const HtmlAttributes &attributes, CssStyle style);

    void giveRole(Element &element);
    void giveIndent(Element &element, CssStyle &style) const;
    void giveLook(Element &element, HtmlAttributes &attributes, CssStyle &style);
    void giveDirection(Element &element, const HtmlAttributes &attributes, const CssStyle &style);
    void markItem(Element &element, const HtmlAttributes &attributes, CssStyle &style);
    // Writes nothing for an element without a written name, or for a `span` without attributes.
    void write(Element &element, HtmlAttributes attributes, const CssStyle &style);
    // Null if the picture is not embedded in the page, or beyond the most pictures of a page.
    [[nodiscard]] QString nameOfPicture(const QString &address);
    void writePicture(const HtmlAttributes &attributes, const CssStyle &style);
    void writeText(QStringView text);

    // Opens a cell if a table is open and no cell is: text and pictures must be inside a cell.
    void enterCell();
    // Before a table part, closes the open cell, and also the row unless `next` is a cell. Opens a
    // row for a cell if none is open.
    void leaveCell(const HtmlElement &next);
    void openAnonymous(const QString &name);
    void closeImplied(const HtmlToken &next);
    void pop();

    [[nodiscard]] CssStyle styleOf(const HtmlToken &token);
    /// How many written tables are open, one in another.
    [[nodiscard]] int tableDepth() const;
    [[nodiscard]] bool isHidden() const { return _shownElements >= 0; }
    [[nodiscard]] bool isBesideCells() const {
        return !_tables.empty() && !_tables.back().isCellOpen();
    }
    [[nodiscard]] static bool isBlock(const Element &element);
    [[nodiscard]] Element child(const QString &name) const;
    void startLine();

    HtmlReader _reader;
    BoundedPage _page;
    HtmlCost _cost;
    HtmlTextWriter _text;
    PageLists _lists;
    PageLooks _looks;
    StyleSheet _sheet;
    std::vector<Element> _open;
    std::vector<HtmlNode> _path;
    std::vector<HtmlTable> _tables;
    QHash<QString, qsizetype> _pictures;
    const CssStyle::PictureNames _pictureNames = [this](const QString &address) {
        return nameOfPicture(address);
    };
    int _written = 0;
    int _tablesWritten = 0;
    int _floats = 0;
    int _picturesWritten = 0;
    int _picturesOfBlock = 0;
    bool _directed = false;
    bool _bodyWritten = false;
    // A block has just ended: the document would put a picture into it.
    bool _afterBlock = false;
    // How many elements were open before the current hidden one; -1 outside hidden elements.
    qsizetype _shownElements = -1;
};

}  // namespace pelorinnews
