#include "OpenElements.h"

#include "HtmlAttributes.h"
#include "HtmlCost.h"
#include "HtmlWriter.h"
#include "PageLooks.h"

#include <algorithm>
#include <utility>

namespace pelorinnews {

namespace {

// Limits of the nesting depth: of all elements that are tracked, and of those that are written.
constexpr std::size_t maxOpen = 512;
constexpr int maxWritten = 64;
// The nesting levels that a table needs: itself, a row, a cell and the cell's content.
constexpr int levelsOfTable = 4;

}  // namespace

void OpenElements::open(HtmlNode node, const HtmlAttributes &attributes, CssStyle style) {
    leaveCell(HtmlElement::named(node.name));
    OpenElement element = innermost().child(node.name);
    giveRole(element);
    if (element.role == OpenElement::Role::List)
        _lists.open(element.name, attributes, style.value("list-style-type"));
    else if (element.name == QStringLiteral("li") && _lists.isOpen())
        markItem(element, attributes, style);
    element.takeIndent(style);
    element.takeDirection(attributes, style);
    element.takeWhiteSpace(style);
    for (const char *taken : {"direction", "display", "list-style-type"})
        style.remove(taken);

    HtmlAttributes kept = boundedAttributes(element.written, attributes);
    _looks.bound(element, kept, style);
    if (element.role == OpenElement::Role::Cell)
        _tables.openCell(kept);
    _writer.writeStart(element, std::move(kept), style);
    push(std::move(element), std::move(node));
}

void OpenElements::openHidden(HtmlNode node) {
    if (!isHidden())
        _shownElements = static_cast<qsizetype>(_open.size());
    OpenElement element = innermost().child(node.name);
    push(std::move(element), std::move(node));
}

void OpenElements::openAnonymous(const QString &name) {
    OpenElement element = innermost().child(name);
    if (element.kind->isTablePart()) {
        giveRole(element);
        if (element.role == OpenElement::Role::Cell)
            _tables.openCell({});
    } else if (hasRoom()) {
        element.written = name;
    }
    _writer.writeStart(element, {}, {});
    element.name.clear();
    push(std::move(element), {});
}

void OpenElements::giveRole(OpenElement &element) {
    if (element.kind->isTablePart()) {
        giveTablePart(element);
        return;
    }
    const bool fits = hasRoom() && !isBesideCells();
    if (fits)
        element.written = element.kind->written;
    if (element.kind->isList)
        element.role = OpenElement::Role::List;
    if (element.name == QStringLiteral("body")) {
        if (_written > 0 || _bodyWritten)
            element.written.clear();
        _bodyWritten = true;
    }
    if (element.name == QStringLiteral("table"))
        openTable(element, fits);
}

void OpenElements::giveTablePart(OpenElement &element) {
    const bool isCell = element.kind->isCell;
    if (!isBesideCells()) {
        // A cell outside a table is an ordinary block.
        element.written = isCell && hasRoom() ? QStringLiteral("div") : QString();
        return;
    }
    const bool written = _tables.isWritten();
    if (written)
        element.written = element.name;
    if (element.kind->isRow) {
        element.role = OpenElement::Role::Row;
        _tables.openRow();
    } else if (isCell) {
        element.role = OpenElement::Role::Cell;
        if (written)
            element.indent = 0;
        else if (hasRoom())
            element.written = QStringLiteral("div");
    }
}

void OpenElements::openTable(OpenElement &element, bool fits) {
    element.role = OpenElement::Role::Table;
    const bool written = _tables.open(fits && _written + levelsOfTable <= maxWritten);
    if (fits && !written)
        element.written = QStringLiteral("div");
}

void OpenElements::markItem(OpenElement &element, const HtmlAttributes &attributes,
                            CssStyle &style) {
    const bool first = _lists.isAtStart();
    element.item = _lists.addItem(attributes, style.value("list-style-type"));
    // The list is written as plain blocks: add the space that a document puts above its own lists.
    if (first && style.value("margin-top").isEmpty())
        style.set("margin-top", QString::number(PageLists::margin) + QStringLiteral("px"));
}

void OpenElements::enterCell() {
    if (!isBesideCells())
        return;
    if (!_tables.isRowOpen())
        openAnonymous(QStringLiteral("tr"));
    openAnonymous(QStringLiteral("td"));
}

void OpenElements::enterBlock() {
    enterCell();
    if (_writer.isAfterBlock())
        openAnonymous(QStringLiteral("div"));
}

void OpenElements::leaveCell(const HtmlElement &next) {
    if (!next.isTablePart() || !_tables.isOpen())
        return;
    while (_tables.isCellOpen())
        pop();
    while (!next.isCell && _tables.isRowOpen())
        pop();
    if (next.isCell && !_tables.isRowOpen())
        openAnonymous(QStringLiteral("tr"));
}

void OpenElements::close(const QString &name) {
    const auto found = std::find_if(_open.rbegin(), _open.rend(),
                                    [&](const OpenElement &each) { return each.name == name; });
    _cost.addTag(std::distance(_open.rbegin(), found));
    if (found == _open.rend() || name.isEmpty())
        return;
    for (auto count = std::distance(_open.rbegin(), found); count >= 0; --count)
        pop();
}

void OpenElements::closeBefore(const HtmlToken &next) {
    // A table beside the cells of another one ends that. Otherwise its content would be there,
    // where a document nests each following table into the one before.
    while (next.name == QStringLiteral("table") && isBesideCells() && !isHidden())
        pop();
    while (!_open.empty()) {
        const OpenElement &last = _open.back();
        const bool anonymousBlock = last.name.isEmpty() && last.role == OpenElement::Role::Plain;
        const bool ends = (anonymousBlock && next.element->isBlock) ||
                          last.kind->endsBefore(last.name, next.name, *next.element);
        if (!ends)
            return;
        pop();
    }
}

void OpenElements::push(OpenElement element, HtmlNode node) {
    if (!element.written.isEmpty())
        ++_written;
    _open.push_back(std::move(element));
    _path.push_back(std::move(node));
}

void OpenElements::pop() {
    const OpenElement element = std::move(_open.back());
    _open.pop_back();
    _path.pop_back();
    if (isHidden()) {
        if (static_cast<qsizetype>(_open.size()) == _shownElements)
            _shownElements = -1;
        return;
    }
    switch (element.role) {
        case OpenElement::Role::Table:
            _tables.close();
            break;
        case OpenElement::Role::Row:
            _tables.closeRow();
            break;
        case OpenElement::Role::Cell:
            _tables.closeCell();
            break;
        case OpenElement::Role::List:
            _lists.close();
            break;
        case OpenElement::Role::Plain:
            break;
    }
    if (element.written.isEmpty())
        return;
    --_written;
    _writer.writeEnd(element);
}

bool OpenElements::isFull() const {
    return _open.size() >= maxOpen;
}

bool OpenElements::hasRoom() const {
    return _written < maxWritten;
}

}  // namespace pelorinnews
