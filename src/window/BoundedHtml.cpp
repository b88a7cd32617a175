#include "BoundedHtml.h"

#include "HtmlElements.h"

#include <algorithm>

namespace pelorinnews {

using namespace HtmlElements;

namespace {

constexpr int widestSpan = 1000;
// So much text at once, between looks at the work.
constexpr qsizetype sliceOfText = 1024;

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
    if (html.isNull())
        return std::nullopt;
    BoundedHtml bounded(html, HtmlWork::Purpose::Copy);
    if (!bounded.run())
        return std::nullopt;
    // Present even where nothing is left.
    return bounded._out.isNull() ? QStringLiteral("") : bounded._out;
}

QString BoundedHtml::beginning(const QString &html) {
    BoundedHtml bounded(html, HtmlWork::Purpose::Display);
    if (!bounded.run())
        bounded._out += QChar(0x2026);
    return bounded._out;
}

bool BoundedHtml::run() {
    while (_position < _html.size()) {
        const qsizetype tag = _html.indexOf(QLatin1Char('<'), _position);
        const qsizetype end = tag < 0 ? _html.size() : tag;
        const QStringView text = QStringView(_html).mid(_position, end - _position);
        for (qsizetype at = 0; at < text.size() && !_work.isTooMuch(); at += sliceOfText)
            writeText(text.mid(at, sliceOfText));
        _position = end;
        const qsizetype written = _out.size();
        if (_position < _html.size() && !_work.isTooMuch())
            readMarkup();
        if (_work.isTooMuch()) {
            // What was one tag too many must not be in it. The document itself ends what is open.
            _out.truncate(written);
            return false;
        }
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
    _work.addEndTag(name);
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
    _work.addStartTag(name, _elements.size());
    for (const auto &[key, value] : attributes)
        _work.addAttribute(key, value);
    if (isDropped(name)) {
        static_cast<void>(readRawText(name));
    } else if (name == QStringLiteral("style")) {
        QString rules = readRawText(name).toString();
        rules.remove(QLatin1Char('<'));
        _work.addStyleSheet(rules);
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
    const qint64 before = table.cells();
    ++table.rows;
    table.columnsOfRow = 0;
    _work.addCells(table.cells() - before, _tables.size());
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
    const qint64 before = table.cells();
    table.rows = std::max<qint64>(table.rows, 1);
    table.columnsOfRow += columns;
    table.columns = std::max(table.columns, table.columnsFromAbove + table.columnsOfRow);
    if (rows > 1) {
        table.columnsFromAbove += columns;
        table.rowsBelow = std::max<qint64>(table.rowsBelow, rows);
    }
    _work.addCells(table.cells() - before, _tables.size());
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
    _work.addText(text);
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
