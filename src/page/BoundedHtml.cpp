#include "BoundedHtml.h"

#include "CssValues.h"
#include "HtmlAttributes.h"

#include <algorithm>

namespace pelorinnews {

namespace {

// Nesting depth: of all elements that are tracked, and of those that are written.
constexpr std::size_t maxOpen = 512;
constexpr int maxWritten = 64;
constexpr int deepestTable = 5;
// Nesting levels for a table, its rows, its cells and their content.
constexpr int levelsOfTable = 4;
constexpr int maxTables = 500;
constexpr int maxFloats = 50;
constexpr int maxPictures = 1000;
constexpr int maxPicturesOfBlock = 50;
// A style attribute is read more than once; the cost counts each reading.
constexpr qsizetype readingsOfStyle = 8;
// In pixels, for all margins, lists and quotations around a line together.
constexpr int maxIndent = 240;
constexpr int indentOfList = 40;
constexpr qsizetype maxClasses = 8;
constexpr qsizetype longestAlternative = 1000;

QStringList classesIn(const QString &value) {
    if (value.isEmpty())
        return {};
    return value.left(512)
        .simplified()
        .split(QLatin1Char(' '), Qt::SkipEmptyParts)
        .mid(0, maxClasses);
}

bool isPlain(const QString &written) {
    return written == QStringLiteral("div") || written == QStringLiteral("td");
}

int pixelsIn(const CssStyle &style, const char *property) {
    const QString value = style.value(property);
    return value.left(value.size() - 2).toInt();
}

QString sizeIn(const QString &value) {
    const int size = std::clamp(value.left(6).toInt(), 0, 2000);
    return size > 0 ? QString::number(size) : QString();
}

}  // namespace

std::optional<BoundedPage> BoundedHtml::prepared(const QString &html) {
    if (html.isNull())
        return std::nullopt;
    BoundedHtml bounded(html, HtmlCost::Purpose::Copy);
    if (!bounded.run())
        return std::nullopt;
    return std::move(bounded._page);
}

BoundedPage BoundedHtml::beginning(const QString &html) {
    BoundedHtml bounded(html, HtmlCost::Purpose::Display);
    if (!bounded.run())
        bounded._page.html += QChar(0x2026);
    return std::move(bounded._page);
}

bool BoundedHtml::run() {
    bool whole = true;
    while (whole) {
        const qsizetype start = _reader.position();
        const HtmlToken token = _reader.next();
        if (token.kind == HtmlToken::Kind::End)
            break;
        const qsizetype written = _page.html.size();
        _cost.addRead(_reader.position() - start);
        read(token);
        if (!_cost.isTooMuch())
            continue;
        // Drop the token that exceeded the limit. The document itself closes what is open.
        _page.html.truncate(written);
        whole = false;
    }
    _page.items = _lists.takeItems();
    _page.isLong = _cost.isMuch();
    return whole;
}

void BoundedHtml::read(const HtmlToken &token) {
    switch (token.kind) {
        case HtmlToken::Kind::Text:
            writeText(token.text);
            break;
        case HtmlToken::Kind::StartTag:
            start(token);
            break;
        case HtmlToken::Kind::EndTag:
            end(token.name);
            break;
        case HtmlToken::Kind::End:
            break;
    }
}

void BoundedHtml::start(const HtmlToken &token) {
    _cost.addTag();
    if (token.element->isDropped)
        return;
    if (token.name == QStringLiteral("style")) {
        _sheet.add(token.text, _pictureNames);
        return;
    }
    closeImplied(token);
    if (_open.size() >= maxOpen)
        return;
    _path.push_back({token.name, valueOf(token.attributes, QLatin1String("id")).left(64),
                     classesIn(valueOf(token.attributes, QLatin1String("class")))});
    const CssStyle style = styleOf(token);
    if (!token.element->isVoid) {
        open(token.name, token.attributes, style);
        return;
    }
    _path.pop_back();
    if (!isHidden() && style.value("display") != QStringLiteral("none"))
        startVoid(token.name, token.attributes, style);
}

void BoundedHtml::end(const QString &name) {
    const auto found = std::find_if(_open.rbegin(), _open.rend(),
                                    [&](const Element &each) { return each.name == name; });
    _cost.addTag(std::distance(_open.rbegin(), found));
    if (found == _open.rend() || name.isEmpty())
        return;
    for (auto count = std::distance(_open.rbegin(), found); count >= 0; --count)
        pop();
}

CssStyle BoundedHtml::styleOf(const HtmlToken &token) {
    CssStyle style;
    if (isHidden())
        return style;
    style = _sheet.styleOf(_path);
    const QString own = valueOf(token.attributes, QLatin1String("style"));
    if (!own.isEmpty()) {
        _cost.addRead(readingsOfStyle * own.size());
        style.overlay(CssStyle::of(withoutEntities(own), _pictureNames));
    }
    if (!valueOf(token.attributes, QLatin1String("hidden")).isNull())
        style.set("display", QStringLiteral("none"));
    return style;
}

void BoundedHtml::startVoid(const QString &name, const HtmlAttributes &attributes,
                            const CssStyle &style) {
    if (name == QStringLiteral("wbr")) {
        writeText(u"&#8203;");
    } else if (name == QStringLiteral("img")) {
        writePicture(attributes, style);
    } else if (name == QStringLiteral("br")) {
        enterCell();
        _page.html += QStringLiteral("<br>");
        _cost.addLineBreak();
        _text.startWord();
    } else if (name == QStringLiteral("hr")) {
        enterCell();
        Element rule = child(name);
        rule.written = name;
        write(rule, boundedAttributes(name, attributes), {});
        _afterBlock = true;
    }
}

BoundedHtml::Element BoundedHtml::child(const QString &name) const {
    Element element;
    if (!_open.empty())
        element = _open.back();
    element.name = name;
    element.kind = &HtmlElement::named(name);
    element.written.clear();
    element.role = Role::Plain;
    element.item = -1;
    return element;
}

void BoundedHtml::open(const QString &name, const HtmlAttributes &attributes, CssStyle style) {
    if (!isHidden() && style.value("display") == QStringLiteral("none"))
        _shownElements = static_cast<qsizetype>(_open.size());
    if (isHidden()) {
        _open.push_back(child(name));
        return;
    }
    HtmlNode node = std::move(_path.back());
    _path.pop_back();
    leaveCell(HtmlElement::named(name));
    _path.push_back(std::move(node));

    Element element = child(name);
    giveRole(element);
    if (element.role == Role::List)
        _lists.open(name, attributes, style.value("list-style-type"));
    else if (name == QStringLiteral("li") && _lists.isOpen())
        markItem(element, attributes, style);
    giveIndent(element, style);
    giveDirection(element, attributes, style);
    element.preserved = element.preserved || name == QStringLiteral("pre");
    if (const QString space = style.value("white-space"); !space.isEmpty())
        element.preserved = space.startsWith(QStringLiteral("pre"));
    for (const char *consumed : {"direction", "display", "list-style-type"})
        style.remove(consumed);

    HtmlAttributes kept = boundedAttributes(element.written, attributes);
    giveLook(element, kept, style);
    if (element.role == Role::Cell)
        _tables.back().openCell(kept, _cost);
    write(element, kept, style);
    if (!element.written.isEmpty())
        ++_written;
    _open.push_back(std::move(element));
}

void BoundedHtml::giveRole(Element &element) {
    const QString &name = element.name;
    const bool room = _written < maxWritten;
    if (element.kind->isTablePart()) {
        if (!isBesideCells()) {
            // Outside of a table, a cell is a block like others.
            element.written = element.kind->isCell && room ? QStringLiteral("div") : QString();
            return;
        }
        const bool written = _tables.back().isWritten();
        if (written)
            element.written = name;
        if (element.kind->isRow) {
            element.role = Role::Row;
            _tables.back().openRow(_cost);
        } else if (element.kind->isCell) {
            element.role = Role::Cell;
            if (written)
                element.indent = 0;
            else if (room)
                element.written = QStringLiteral("div");
        }
        return;
    }
    const bool fits = room && !isBesideCells();
    if (fits)
        element.written = element.kind->written;
    if (element.kind->isList)
        element.role = Role::List;
    if (name == QStringLiteral("body")) {
        if (_written > 0 || _bodyWritten)
            element.written.clear();
        _bodyWritten = true;
    }
    if (name != QStringLiteral("table"))
        return;
    const int depth = tableDepth();
    const bool written = fits && depth < deepestTable && _tablesWritten < maxTables &&
                         _written + levelsOfTable <= maxWritten;
    element.role = Role::Table;
    _tables.emplace_back(written);
    if (written) {
        ++_tablesWritten;
        _cost.setTableDepth(depth + 1);
    } else if (fits)
        element.written = QStringLiteral("div");
}

int BoundedHtml::tableDepth() const {
    return static_cast<int>(std::count_if(_tables.begin(), _tables.end(),
                                          [](const HtmlTable &each) { return each.isWritten(); }));
}

void BoundedHtml::giveIndent(Element &element, CssStyle &style) const {
    const bool block = isBlock(element) && element.role != Role::Cell;
    int own = pixelsIn(style, "margin-left") + pixelsIn(style, "margin-right");
    if (!block || element.indent + own > maxIndent) {
        style.remove("margin-left");
        style.remove("margin-right");
        own = 0;
    }
    if (!block) {
        for (const char *property : {"margin-top", "margin-bottom", "text-indent"})
            style.remove(property);
        return;
    }
    if (element.role == Role::List || element.written == QStringLiteral("dd"))
        own += indentOfList;
    else if (element.written == QStringLiteral("blockquote"))
        own += 2 * indentOfList;
    if (element.indent + own <= maxIndent)
        element.indent += own;
    else
        element.written = QStringLiteral("div");
}

void BoundedHtml::giveDirection(Element &element, const HtmlAttributes &attributes,
                                const CssStyle &style) {
    const QString stated = style.value("direction");
    const QString direction =
        stated.isEmpty() ? valueOf(attributes, QLatin1String("dir")).trimmed().toLower() : stated;
    if (direction != QStringLiteral("ltr") && direction != QStringLiteral("rtl"))
        return;
    element.direction = direction;
    _directed = true;
}

void BoundedHtml::giveLook(Element &element, HtmlAttributes &attributes, CssStyle &style) {
    const auto removeAll = [&attributes](auto isRemoved) {
        attributes.removeIf([&](const auto &each) { return isRemoved(each.first); });
    };
    const bool table = element.role == Role::Table;
    const QString align = valueOf(attributes, QLatin1String("align"));
    if (!table)
        style.remove("float");
    else if ((!style.value("float").isEmpty() ||
              (!align.isEmpty() && align != QLatin1String("center"))) &&
             ++_floats > maxFloats) {
        style.remove("float");
        removeAll([](const QString &name) { return name == QLatin1String("align"); });
    }
    const bool otherFont = element.kind->isOtherFont && !element.written.isEmpty();
    QString font = style.fontText();
    QString rest = style.text();
    for (const auto &[name, value] : std::as_const(attributes)) {
        const bool ofFont = name == QStringLiteral("face") || name == QStringLiteral("size");
        if (ofFont || (name != QStringLiteral("href") && name != QStringLiteral("title")))
            (ofFont ? font : rest) += name + value + QLatin1Char(';');
    }
    if (otherFont || !font.isEmpty()) {
        const size_t asked =
            qHashMulti(element.font, otherFont ? element.written : QString(), font);
        if (!_cost.isDisplay() || _looks.admitFont(asked)) {
            element.font = asked;
        } else {
            style.removeFont();
            removeAll([](const QString &name) {
                return name == QLatin1String("face") || name == QLatin1String("size");
            });
            if (otherFont && element.role != Role::Cell)
                element.written = isBlock(element) ? QStringLiteral("div") : QString();
        }
    }
    const bool look = !element.written.isEmpty() && !isPlain(element.written) &&
                      (element.kind->isOtherFont || element.kind->isOtherLook);
    if (!look && rest.isEmpty() && font.isEmpty())
        return;
    const size_t asked = qHashMulti(element.look, look ? element.written : QString(), rest, font);
    if (_looks.admitLook(asked)) {
        element.look = asked;
        return;
    }
    style.clear();
    removeAll([](const QString &name) {
        return name != QLatin1String("href") && name != QLatin1String("colspan") &&
               name != QLatin1String("rowspan");
    });
    if (look && element.role != Role::Cell && element.written != QStringLiteral("a"))
        element.written = isBlock(element) ? QStringLiteral("div") : QString();
}

void BoundedHtml::markItem(Element &element, const HtmlAttributes &attributes, CssStyle &style) {
    const bool first = _lists.isAtStart();
    element.item = _lists.addItem(attributes, style.value("list-style-type"));
    // The space that a document puts above its own lists.
    if (first && style.value("margin-top").isEmpty())
        style.set("margin-top", QString::number(PageLists::margin) + QStringLiteral("px"));
}

void BoundedHtml::write(Element &element, HtmlAttributes attributes, const CssStyle &style) {
    if (element.written.isEmpty())
        return;
    QString styles = style.text();
    if (element.item >= 0)
        styles += (styles.isEmpty() ? QStringLiteral("-qt-user-state:")
                                    : QStringLiteral(";-qt-user-state:")) +
                  QString::number(element.item);
    if (!styles.isEmpty())
        attributes.emplaceBack(QStringLiteral("style"), styles);
    // The document would keep a direction past the end of a list or table. So once the page states
    // one, every element states its own.
    if (_directed)
        attributes.emplaceBack(QStringLiteral("dir"), element.direction.isEmpty()
                                                          ? QStringLiteral("ltr")
                                                          : element.direction);
    if (attributes.isEmpty() && element.written == QStringLiteral("span")) {
        element.written.clear();
        return;
    }
    const qsizetype before = _page.html.size();
    _page.html += QLatin1Char('<') + element.written;
    for (auto &[key, value] : attributes) {
        value.remove(QChar(QChar::Null));
        value.replace(QLatin1Char('"'), QStringLiteral("&quot;"));
        _page.html += QLatin1Char(' ') + key + QStringLiteral("=\"") + value + QLatin1Char('"');
    }
    _page.html += QLatin1Char('>');
    const bool block = isBlock(element);
    _cost.addElement(block, _page.html.size() - before);
    _cost.addDeclarations(style.size() + (element.item >= 0 ? 1 : 0));
    if (block)
        startLine();
}

QString BoundedHtml::nameOfPicture(const QString &address) {
    if (!address.startsWith(QStringLiteral("data:image/"), Qt::CaseInsensitive) ||
        _picturesWritten >= maxPictures)
        return {};
    ++_picturesWritten;
    auto known = _pictures.constFind(address);
    if (known == _pictures.constEnd()) {
        known = _pictures.insert(address, _page.pictures.size());
        _page.pictures << address;
    }
    return BoundedPage::pictureName(*known);
}

void BoundedHtml::writePicture(const HtmlAttributes &attributes, const CssStyle &style) {
    const QString address = withoutEntities(valueOf(attributes, QLatin1String("src"))).trimmed();
    const QString alternative =
        valueOf(attributes, QLatin1String("alt")).simplified().left(longestAlternative);
    const QString name = _picturesOfBlock < maxPicturesOfBlock ? nameOfPicture(address) : QString();
    if (name.isNull()) {
        writeText(alternative);
        return;
    }
    enterCell();
    if (_afterBlock)
        openAnonymous(QStringLiteral("div"));
    HtmlAttributes kept{{QStringLiteral("src"), name}};
    for (const char *side : {"width", "height"}) {
        const QString size = sizeIn(valueOf(attributes, QLatin1String(side)).trimmed());
        if (!size.isEmpty())
            kept.emplaceBack(QLatin1String(side), size);
    }
    if (!alternative.isEmpty())
        kept.emplaceBack(QStringLiteral("alt"), alternative);
    CssStyle place;
    for (const char *property : {"float", "vertical-align"}) {
        if (const QString value = style.value(property); !value.isEmpty())
            place.set(property, value);
    }
    const QString align = valueOf(attributes, QLatin1String("align")).trimmed().toLower();
    if (!CssValues::keyword(align, "left right").isEmpty())
        place.set("float", align);
    if (!place.value("float").isEmpty() && ++_floats > maxFloats)
        place.remove("float");
    Element picture = child(QStringLiteral("img"));
    picture.written = picture.name;
    _cost.addPicture(_picturesOfBlock++, address.size());
    write(picture, std::move(kept), place);
    _text.startWord();
}

void BoundedHtml::writeText(QStringView text) {
    if (isHidden() || text.isEmpty())
        return;
    const bool blank = text.trimmed().isEmpty();
    if (blank && isBesideCells())
        return;
    if (!blank) {
        enterCell();
        _afterBlock = false;
    }
    if (_open.empty())
        _text.write(text, 0, false);
    else
        _text.write(text, _open.back().font, _open.back().preserved);
}

void BoundedHtml::enterCell() {
    if (!isBesideCells())
        return;
    if (!_tables.back().isRowOpen())
        openAnonymous(QStringLiteral("tr"));
    openAnonymous(QStringLiteral("td"));
}

void BoundedHtml::leaveCell(const HtmlElement &next) {
    if (!next.isTablePart() || _tables.empty())
        return;
    while (_tables.back().isCellOpen())
        pop();
    while (!next.isCell && _tables.back().isRowOpen())
        pop();
    if (next.isCell && !_tables.back().isRowOpen())
        openAnonymous(QStringLiteral("tr"));
}

void BoundedHtml::openAnonymous(const QString &name) {
    Element element = child(name);
    if (element.kind->isTablePart()) {
        giveRole(element);
        if (element.role == Role::Cell)
            _tables.back().openCell({}, _cost);
    } else if (_written < maxWritten) {
        element.written = name;
    }
    write(element, {}, {});
    if (!element.written.isEmpty())
        ++_written;
    element.name.clear();
    _path.push_back({});
    _open.push_back(std::move(element));
}

void BoundedHtml::closeImplied(const HtmlToken &next) {
    while (!_open.empty()) {
        const Element &last = _open.back();
        const bool anonymous =
            last.name.isEmpty() && last.role == Role::Plain && next.element->isBlock;
        if (!anonymous && !last.kind->endsBefore(last.name, next.name, *next.element))
            return;
        pop();
    }
}

void BoundedHtml::pop() {
    const Element element = std::move(_open.back());
    _open.pop_back();
    _path.pop_back();
    if (isHidden()) {
        if (static_cast<qsizetype>(_open.size()) == _shownElements)
            _shownElements = -1;
        return;
    }
    switch (element.role) {
        case Role::Table:
            _tables.pop_back();
            _cost.setTableDepth(tableDepth());
            break;
        case Role::Row:
            _tables.back().closeRow();
            break;
        case Role::Cell:
            _tables.back().closeCell();
            break;
        case Role::List:
            _lists.close();
            break;
        case Role::Plain:
            break;
    }
    if (element.written.isEmpty())
        return;
    _page.html += QStringLiteral("</") + element.written + QLatin1Char('>');
    --_written;
    if (!isBlock(element))
        return;
    startLine();
    // After a table the document begins a block by itself.
    _afterBlock = element.role != Role::Table;
}

bool BoundedHtml::isBlock(const Element &element) {
    return !element.written.isEmpty() && (element.kind->isBlock || isPlain(element.written));
}

void BoundedHtml::startLine() {
    _text.startBlock();
    _picturesOfBlock = 0;
    _afterBlock = false;
}

}  // namespace pelorinnews
