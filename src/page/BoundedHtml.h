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

/// Writes a page anew for a text document, which takes hostile or careless HTML in badly: some
/// kilobytes can occupy it for minutes. Only what is known to be harmless reaches it: elements that
/// it knows, attributes and styles with values of a known form within bounds, no style sheet, no
/// lists, tables and nesting only so deep. What a page asks for beyond that is left out, and its
/// text stays.
///
/// All of it together costs a document, laid out and painted, about a quarter of a second at most
/// on the computer that the rates of `HtmlCost` were measured on. Pages beyond that are some
/// hundred thousand words long, or mean no good; they are cut, or not copied.
class BoundedHtml {
public:
    /// The whole page, for a document that is copied from; absent for an absent text and for one
    /// that costs too much.
    static std::optional<BoundedPage> prepared(const QString &html);

    /// As much of the page, from its beginning, as a document can take in and lay out in time; an
    /// ellipsis ends what had to be cut.
    static BoundedPage beginning(const QString &html);

private:
    enum class Role { Plain, List, Table, Row, Cell };

    struct Element {
        /// In the page; empty for one that the page does not have.
        QString name;
        /// What that name means; never null.
        const HtmlElement *kind = nullptr;
        /// In the document; empty where only its content is.
        QString written;
        Role role = Role::Plain;
        QString direction;
        size_t look = 0;
        size_t font = 0;
        /// Of a list's item, its index among those of the page; otherwise -1.
        int item = -1;
        /// How much narrower its lines are than the page's or the cell's, in pixels.
        int indent = 0;
        bool preserved = false;
    };

    BoundedHtml(const QString &html, HtmlCost::Purpose purpose)
        : _reader(html), _work(purpose), _text(_page.html, _work) {}

    // False where it became too much; what was written until then is there.
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
    // Nothing for an element that is not written, or that would say nothing.
    void write(Element &element, HtmlAttributes attributes, const CssStyle &style);
    // Null for one that the page does not carry, and beyond the most pictures of a page.
    [[nodiscard]] QString nameOfPicture(const QString &address);
    void writePicture(const HtmlAttributes &attributes, const CssStyle &style);
    void writeText(QStringView text);

    // Text and pictures stand in a cell, not beside it.
    void enterCell();
    // Makes room for a row or a cell beside the one that is open.
    void leaveCell(const HtmlElement &next);
    void openAnonymous(const QString &name);
    void closeImplied(const HtmlToken &next);
    void pop();

    [[nodiscard]] CssStyle styleOf(const HtmlToken &token);
    [[nodiscard]] bool isHidden() const { return _shownElements >= 0; }
    [[nodiscard]] bool isBesideCells() const {
        return !_tables.empty() && !_tables.back().isCellOpen();
    }
    [[nodiscard]] static bool isBlock(const Element &element);
    [[nodiscard]] Element child(const QString &name) const;
    void startLine();

    HtmlReader _reader;
    BoundedPage _page;
    HtmlCost _work;
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
    // A block has just ended: a picture would go into it.
    bool _afterBlock = false;
    // How many elements stood open before the hidden one that we are in; -1 outside of any.
    qsizetype _shownElements = -1;
};

}  // namespace pelorinnews
