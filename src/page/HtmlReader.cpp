#include "HtmlReader.h"

#include <algorithm>

namespace pelorinnews {

namespace {

// Maximum length of a text token, so that the caller can soon stop if the page costs too much.
constexpr qsizetype maxTextToken = 1024;
// Further attributes of a tag are dropped. No known element has that many.
constexpr qsizetype maxAttributes = 32;
constexpr qsizetype maxNameLength = 32;
// Limit for the attributes that are read in one tag, dropped ones included. It is needed because
// the caller cannot stop within a tag.
constexpr int maxWords = 1000;

bool isLetter(QChar c) {
    return (c >= QLatin1Char('a') && c <= QLatin1Char('z')) ||
           (c >= QLatin1Char('A') && c <= QLatin1Char('Z'));
}

bool isNamePart(QChar c) {
    return c.isLetterOrNumber() || c == QLatin1Char('-') || c == QLatin1Char('_') ||
           c == QLatin1Char(':');
}

}  // namespace

QString valueOf(const HtmlAttributes &attributes, QLatin1String name) {
    for (const auto &[key, value] : attributes) {
        if (key == name)
            return value.isNull() ? QStringLiteral("") : value;
    }
    return {};
}

HtmlToken HtmlReader::next() {
    if (_position >= _html.size())
        return {};
    if (_html[_position] != QLatin1Char('<'))
        return readText();
    const QChar next = _position + 1 < _html.size() ? _html[_position + 1] : QChar();
    if (next == QLatin1Char('/'))
        return readEndTag();
    if (isLetter(next))
        return readStartTag();
    if (next != QLatin1Char('!') && next != QLatin1Char('?'))
        return readText();
    skipComment();
    HtmlToken nothing;
    nothing.kind = HtmlToken::Kind::Text;
    return nothing;
}

HtmlToken HtmlReader::readText() {
    HtmlToken token;
    token.kind = HtmlToken::Kind::Text;
    // Search from the second character: a "<" in first place has been found to begin no tag, so it
    // is text.
    const QStringView slice =
        _html.sliced(_position).first(std::min(maxTextToken, _html.size() - _position));
    const qsizetype tag = slice.indexOf(QLatin1Char('<'), 1);
    qsizetype end = _position + (tag < 0 ? slice.size() : tag);
    // Do not split a character reference: if there is an "&" near the end of a full slice, end the
    // slice before it.
    const qsizetype entity = _html.sliced(_position, end - _position).lastIndexOf(QLatin1Char('&'));
    if (entity > 0 && end - _position == maxTextToken && entity > maxTextToken - maxNameLength)
        end = _position + entity;
    if (end < _html.size() && _html[end].isLowSurrogate() && end - _position > 1)
        --end;
    token.text = _html.sliced(_position, end - _position);
    _position = end;
    return token;
}

HtmlToken HtmlReader::readEndTag() {
    HtmlToken token;
    token.kind = HtmlToken::Kind::EndTag;
    _position += 2;
    token.name = readName();
    skipPast(u">");
    return token;
}

HtmlToken HtmlReader::readStartTag() {
    HtmlToken token;
    token.kind = HtmlToken::Kind::StartTag;
    ++_position;
    token.name = readName();
    token.attributes = readAttributes();
    if (_position >= _html.size())
        return {};
    ++_position;
    token.element = &HtmlElement::named(token.name);
    if (token.element->isRawText)
        token.text = readRawText(token.name);
    return token;
}

QString HtmlReader::readName() {
    const qsizetype start = _position;
    while (_position < _html.size() && isNamePart(_html[_position]))
        ++_position;
    return _html.sliced(start, std::min(_position - start, maxNameLength)).toString().toLower();
}

HtmlAttributes HtmlReader::readAttributes() {
    HtmlAttributes attributes;
    for (int words = 0; words < maxWords; ++words) {
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
        if (attributes.size() < maxAttributes && name.size() <= maxNameLength &&
            valueOf(attributes, QLatin1String(name.toLatin1())).isNull())
            attributes.emplaceBack(name, value);
    }
    skipAttributes();
    return attributes;
}

void HtmlReader::skipAttributes() {
    QChar quote;
    for (; _position < _html.size(); ++_position) {
        const QChar c = _html[_position];
        if (!quote.isNull())
            quote = c == quote ? QChar() : quote;
        else if (c == QLatin1Char('"') || c == QLatin1Char('\''))
            quote = c;
        else if (c == QLatin1Char('>'))
            return;
    }
}

QString HtmlReader::readWord() {
    if (_position >= _html.size())
        return {};
    const QChar quote = _html[_position];
    if (quote == QLatin1Char('"') || quote == QLatin1Char('\'')) {
        const qsizetype end = _html.indexOf(quote, _position + 1);
        const qsizetype stop = end < 0 ? _html.size() : end;
        QString word = _html.sliced(_position + 1, stop - _position - 1).toString();
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
    return _html.sliced(start, _position - start).toString();
}

QStringView HtmlReader::readRawText(const QString &name) {
    const qsizetype start = _position;
    const QString tag = QStringLiteral("</") + name;
    qsizetype end = _html.indexOf(tag, _position, Qt::CaseInsensitive);
    while (end >= 0 && end + tag.size() < _html.size() && isNamePart(_html[end + tag.size()]))
        end = _html.indexOf(tag, end + tag.size(), Qt::CaseInsensitive);
    if (end < 0) {
        _position = _html.size();
        return _html.sliced(start);
    }
    _position = end;
    skipPast(u">");
    return _html.sliced(start, end - start);
}

void HtmlReader::skipComment() {
    const bool comment = _html.sliced(_position).startsWith(QStringLiteral("<!--"));
    _position += 2;
    skipPast(comment ? QStringView(u"-->") : QStringView(u">"));
}

void HtmlReader::skipSpace() {
    while (_position < _html.size() && _html[_position].isSpace())
        ++_position;
}

void HtmlReader::skipPast(QStringView end) {
    const qsizetype found = _html.indexOf(end, _position);
    _position = found < 0 ? _html.size() : found + end.size();
}

}  // namespace pelorinnews
