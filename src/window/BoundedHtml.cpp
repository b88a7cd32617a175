#include "BoundedHtml.h"

#include <QSet>

#include <algorithm>

namespace pelorinnews {

namespace {

// In units of about a tenth of a microsecond of the document's import.
constexpr qint64 mostWork = 8'000'000;
constexpr qint64 workOfTag = 10;
constexpr qint64 mostCells = 40'000;
constexpr int widestSpan = 1000;

/// Elements whose content is no text of the page.
bool isDropped(const QString &name) {
    static const QSet<QString> names{
        QStringLiteral("script"),   QStringLiteral("iframe"), QStringLiteral("noframes"),
        QStringLiteral("noembed"),  QStringLiteral("title"),  QStringLiteral("template"),
        QStringLiteral("textarea"), QStringLiteral("select"), QStringLiteral("audio"),
        QStringLiteral("video"),    QStringLiteral("svg"),    QStringLiteral("math"),
        QStringLiteral("canvas")};
    return names.contains(name);
}

/// Elements that never have content.
bool isVoid(const QString &name) {
    static const QSet<QString> names{
        QStringLiteral("area"),  QStringLiteral("base"),   QStringLiteral("basefont"),
        QStringLiteral("br"),    QStringLiteral("col"),    QStringLiteral("embed"),
        QStringLiteral("frame"), QStringLiteral("hr"),     QStringLiteral("img"),
        QStringLiteral("input"), QStringLiteral("keygen"), QStringLiteral("link"),
        QStringLiteral("meta"),  QStringLiteral("param"),  QStringLiteral("source"),
        QStringLiteral("track"), QStringLiteral("wbr")};
    return names.contains(name);
}

bool isShownVoid(const QString &name) {
    return name == QStringLiteral("br") || name == QStringLiteral("hr") ||
           name == QStringLiteral("img");
}

bool isCell(const QString &name) {
    return name == QStringLiteral("td") || name == QStringLiteral("th");
}

bool isRowGroup(const QString &name) {
    return name == QStringLiteral("tbody") || name == QStringLiteral("thead") ||
           name == QStringLiteral("tfoot");
}

bool isDefinition(const QString &name) {
    return name == QStringLiteral("dt") || name == QStringLiteral("dd");
}

/// Elements before which a paragraph left open ends.
bool endsParagraph(const QString &name) {
    static const QSet<QString> names{
        QStringLiteral("address"),    QStringLiteral("article"), QStringLiteral("aside"),
        QStringLiteral("blockquote"), QStringLiteral("center"),  QStringLiteral("dd"),
        QStringLiteral("div"),        QStringLiteral("dl"),      QStringLiteral("dt"),
        QStringLiteral("fieldset"),   QStringLiteral("figure"),  QStringLiteral("footer"),
        QStringLiteral("form"),       QStringLiteral("h1"),      QStringLiteral("h2"),
        QStringLiteral("h3"),         QStringLiteral("h4"),      QStringLiteral("h5"),
        QStringLiteral("h6"),         QStringLiteral("header"),  QStringLiteral("hr"),
        QStringLiteral("li"),         QStringLiteral("main"),    QStringLiteral("nav"),
        QStringLiteral("ol"),         QStringLiteral("p"),       QStringLiteral("pre"),
        QStringLiteral("section"),    QStringLiteral("table"),   QStringLiteral("td"),
        QStringLiteral("th"),         QStringLiteral("tr"),      QStringLiteral("ul")};
    return names.contains(name);
}

/// Whether `open` ends where `next` starts, its own end tag being optional.
bool isImpliedEnd(const QString &open, const QString &next) {
    if (open == QStringLiteral("p"))
        return endsParagraph(next);
    if (open == QStringLiteral("li"))
        return next == open;
    if (isDefinition(open))
        return isDefinition(next);
    if (isCell(open))
        return isCell(next) || next == QStringLiteral("tr") || isRowGroup(next);
    if (open == QStringLiteral("tr"))
        return next == open || isRowGroup(next);
    return isRowGroup(open) && isRowGroup(next);
}

/// Whether the page hides the element. The document knows neither way of saying so.
bool isHidden(const QList<std::pair<QString, QString>> &attributes) {
    return std::any_of(attributes.begin(), attributes.end(), [](const auto &attribute) {
        if (attribute.first == QStringLiteral("hidden"))
            return true;
        QString style = attribute.second;
        return attribute.first == QStringLiteral("style") &&
               style.remove(QLatin1Char(' '))
                   .contains(QStringLiteral("display:none"), Qt::CaseInsensitive);
    });
}

bool isLetter(QChar c) {
    return (c >= QLatin1Char('a') && c <= QLatin1Char('z')) ||
           (c >= QLatin1Char('A') && c <= QLatin1Char('Z'));
}

bool isNamePart(QChar c) {
    return c.isLetterOrNumber() || c == QLatin1Char('-') || c == QLatin1Char('_') ||
           c == QLatin1Char(':');
}

qsizetype indexOf(const QList<std::pair<QString, QString>> &attributes, const QString &name) {
    const auto found = std::find_if(attributes.begin(), attributes.end(),
                                    [&](const auto &attribute) { return attribute.first == name; });
    return found == attributes.end() ? -1 : std::distance(attributes.begin(), found);
}

int spanOf(const QString &value) {
    return std::clamp(value.trimmed().toInt(), 1, widestSpan);
}

}  // namespace

std::optional<QString> BoundedHtml::prepared(const QString &html) {
    if (html.isNull() || html.size() > mostCharacters)
        return std::nullopt;
    BoundedHtml bounded(html);
    if (!bounded.run())
        return std::nullopt;
    // Present even where nothing is left.
    return bounded._out.isNull() ? QStringLiteral("") : bounded._out;
}

bool BoundedHtml::run() {
    _out.reserve(_html.size());
    while (_position < _html.size()) {
        const qsizetype tag = _html.indexOf(QLatin1Char('<'), _position);
        const qsizetype end = tag < 0 ? _html.size() : tag;
        writeText(QStringView(_html).mid(_position, end - _position));
        _position = end;
        if (_position < _html.size())
            readMarkup();
        if (_work > mostWork || _cells > mostCells)
            return false;
    }
    return true;
}

void BoundedHtml::readMarkup() {
    const QChar next = _position + 1 < _html.size() ? _html[_position + 1] : QChar();
    if (next == QLatin1Char('!') || next == QLatin1Char('?')) {
        readComment();
    } else if (next == QLatin1Char('/')) {
        readEndTag();
    } else if (isLetter(next)) {
        readStartTag();
    } else {
        writeText(u"&lt;");
        ++_position;
    }
}

void BoundedHtml::readComment() {
    const bool comment = QStringView(_html).mid(_position).startsWith(QStringLiteral("<!--"));
    _position += 2;
    skipPast(comment ? QStringView(u"-->") : QStringView(u">"));
}

void BoundedHtml::readEndTag() {
    _position += 2;
    const qsizetype start = _position;
    while (_position < _html.size() && isNamePart(_html[_position]))
        ++_position;
    const QString name = _html.mid(start, _position - start).toLower();
    skipPast(u">");
    _work += workOfTag;
    if (_openByName.value(name) == 0)
        return;
    while (_elements.last() != name)
        popElement();
    popElement();
}

void BoundedHtml::readStartTag() {
    const qsizetype start = ++_position;
    while (_position < _html.size() && isNamePart(_html[_position]))
        ++_position;
    const QString name = _html.mid(start, _position - start).toLower();
    Attributes attributes = readAttributes();
    if (_position >= _html.size())
        return;
    ++_position;
    // Each rule is held against the element and against those around it.
    _work += workOfTag + (_styleRules + 1) * (_elements.size() + 1);
    if (isDropped(name)) {
        static_cast<void>(readRawText(name));
    } else if (name == QStringLiteral("style")) {
        QString rules = readRawText(name).toString();
        rules.remove(QLatin1Char('<'));
        _styleRules += rules.count(QLatin1Char('{')) + rules.count(QLatin1Char(','));
        _out += QStringLiteral("<style>") + rules + QStringLiteral("</style>");
    } else if (name == QStringLiteral("wbr")) {
        writeText(u"&#8203;");
    } else {
        open(name, std::move(attributes));
    }
}

BoundedHtml::Attributes BoundedHtml::readAttributes() {
    Attributes attributes;
    for (;;) {
        skipSpace();
        if (_position >= _html.size() || _html[_position] == QLatin1Char('>'))
            return attributes;
        const QString name = readWord().toLower();
        if (name.isEmpty()) {
            ++_position;
            continue;
        }
        skipSpace();
        QString value;
        if (_position < _html.size() && _html[_position] == QLatin1Char('=')) {
            ++_position;
            skipSpace();
            value = readWord();
        }
        // The document takes addresses as they stand, where pages may surround them with space.
        if (name == QStringLiteral("href") || name == QStringLiteral("src"))
            value = value.trimmed();
        if (std::all_of(name.begin(), name.end(), isNamePart))
            attributes.emplaceBack(name, value);
    }
}

QString BoundedHtml::readWord() {
    if (_position >= _html.size())
        return {};
    const QChar quote = _html[_position];
    if (quote == QLatin1Char('"') || quote == QLatin1Char('\'')) {
        const qsizetype end = _html.indexOf(quote, _position + 1);
        const qsizetype stop = end < 0 ? _html.size() : end;
        QString word = _html.mid(_position + 1, stop - _position - 1);
        _position = std::min(stop + 1, _html.size());
        return word;
    }
    const qsizetype start = _position;
    while (_position < _html.size()) {
        const QChar c = _html[_position];
        if (c.isSpace() || c == QLatin1Char('>') || c == QLatin1Char('='))
            break;
        ++_position;
    }
    return _html.mid(start, _position - start);
}

QStringView BoundedHtml::readRawText(const QString &name) {
    const qsizetype start = _position;
    const qsizetype end =
        _html.indexOf(QStringLiteral("</") + name, _position, Qt::CaseInsensitive);
    if (end < 0) {
        _position = _html.size();
        return QStringView(_html).mid(start);
    }
    _position = end;
    skipPast(u">");
    return QStringView(_html).mid(start, end - start);
}

void BoundedHtml::skipSpace() {
    while (_position < _html.size() && _html[_position].isSpace())
        ++_position;
}

void BoundedHtml::skipPast(QStringView end) {
    const qsizetype found = _html.indexOf(end, _position);
    _position = found < 0 ? _html.size() : found + end.size();
}

void BoundedHtml::open(const QString &name, Attributes attributes) {
    if (isVoid(name)) {
        closeImplied(name);
        if (isShownVoid(name) && !isHidden(attributes))
            writeStartTag(name, attributes);
        return;
    }
    closeImplied(name);
    if (_shownElements < 0 && isHidden(attributes))
        _shownElements = _elements.size();
    if (name == QStringLiteral("table"))
        _tables.emplaceBack();
    else if (name == QStringLiteral("tr"))
        countRow();
    else if (isCell(name))
        countCell(attributes);
    inheritDirection(attributes);
    _elements.append(name);
    ++_openByName[name];
    writeStartTag(name, attributes);
}

void BoundedHtml::countRow() {
    if (_tables.isEmpty())
        return;
    Table &table = _tables.last();
    _cells -= table.cells();
    ++table.rows;
    table.columnsOfRow = 0;
    _cells += table.cells();
}

void BoundedHtml::countCell(Attributes &attributes) {
    int columns = 1;
    int rows = 1;
    for (auto &[name, value] : attributes) {
        if (name != QStringLiteral("colspan") && name != QStringLiteral("rowspan"))
            continue;
        const int span = spanOf(value);
        value = QString::number(span);
        (name == QStringLiteral("colspan") ? columns : rows) = span;
    }
    if (_tables.isEmpty())
        return;
    Table &table = _tables.last();
    _cells -= table.cells();
    table.rows = std::max<qint64>(table.rows, 1);
    table.columnsOfRow += columns;
    table.columns = std::max(table.columns, table.columnsFromAbove + table.columnsOfRow);
    if (rows > 1) {
        table.columnsFromAbove += columns;
        table.rowsBelow = std::max<qint64>(table.rowsBelow, rows);
    }
    _cells += table.cells();
}

void BoundedHtml::inheritDirection(Attributes &attributes) {
    const QString key = QStringLiteral("dir");
    const qsizetype own = indexOf(attributes, key);
    if (own >= 0)
        _directions.append(attributes.at(own).second);
    else
        _directions.append(_directions.isEmpty() ? QString() : _directions.last());
    _directed = _directed || own >= 0;
    if (!_directed || own >= 0)
        return;
    const QString &direction = _directions.last();
    attributes.emplaceBack(key, direction.isEmpty() ? QStringLiteral("ltr") : direction);
}

void BoundedHtml::closeImplied(const QString &next) {
    while (!_elements.isEmpty() && isImpliedEnd(_elements.last(), next))
        popElement();
}

void BoundedHtml::popElement() {
    const QString name = _elements.takeLast();
    _directions.removeLast();
    --_openByName[name];
    if (name == QStringLiteral("table") && !_tables.isEmpty())
        _tables.removeLast();
    if (_shownElements < 0)
        _out += QStringLiteral("</") + name + QLatin1Char('>');
    else if (_elements.size() == _shownElements)
        _shownElements = -1;
}

void BoundedHtml::writeText(QStringView text) {
    if (_shownElements >= 0)
        return;
    if (!text.contains(QChar(QChar::Null))) {
        _out += text;
        return;
    }
    _out += text.toString().remove(QChar(QChar::Null));
}

void BoundedHtml::writeStartTag(const QString &name, const Attributes &attributes) {
    if (_shownElements >= 0)
        return;
    _out += QLatin1Char('<') + name;
    for (const auto &[key, value] : attributes) {
        _out += QLatin1Char(' ') + key + QStringLiteral("=\"");
        _out += QString(value).replace(QLatin1Char('"'), QStringLiteral("&quot;"));
        _out += QLatin1Char('"');
    }
    _out += QLatin1Char('>');
}

}  // namespace pelorinnews
