#include "OpenDocumentOutline.h"

#include <utility>

namespace pelorinnews::test {

namespace {

/// A style property that an outline lists: its name, its label in the outline, and its default
/// value, which the outline leaves out.
struct Property {
    const char *name;
    const char *label;
    const char *ordinary;
};

constexpr Property interesting[] = {
    {"fo:text-align", "", "start"},
    {"style:writing-mode", "", "lr-tb"},
    {"fo:margin-left", "indent ", "0in"},
    {"fo:border-bottom", "rule ", "none"},
    {"fo:border", "border ", "none"},
    {"fo:font-weight", "", "normal"},
    {"style:font-weight-complex", "complex ", "normal"},
    {"fo:font-style", "", "normal"},
    {"style:text-underline-style", "underline ", "none"},
    {"style:text-line-through-style", "strike ", "none"},
    {"style:text-position", "", ""},
    {"style:font-name", "", "Verdana"},
    {"fo:font-size", "", "12pt"},
    {"fo:color", "color ", "#000000"},
    {"fo:background-color", "on ", "transparent"},
};

}  // namespace

QString OpenDocumentOutline::of(const QByteArray &document) {
    return OpenDocumentOutline(document).run();
}

QString OpenDocumentOutline::run() {
    while (!_reader.atEnd()) {
        if (_reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (_reader.qualifiedName() == QStringLiteral("style:style"))
            readStyle();
        else if (_reader.qualifiedName() == QStringLiteral("text:list-style"))
            readListStyle();
        else if (_reader.qualifiedName() == QStringLiteral("office:text"))
            readBody();
    }
    return _reader.hasError() ? QString() : _lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

void OpenDocumentOutline::readStyle() {
    const QString name = attribute("style:name");
    Properties properties;
    // A heading's look comes from its named style; the outline lists only what the text itself
    // adds.
    while (_reader.readNextStartElement()) {
        for (const QXmlStreamAttribute &found : _reader.attributes())
            properties.insert(found.qualifiedName().toString(), found.value().toString());
        _reader.skipCurrentElement();
    }
    _styles.insert(name, properties);
}

void OpenDocumentOutline::readListStyle() {
    const QString name = attribute("style:name");
    QStringList levels;
    while (_reader.readNextStartElement()) {
        const QString start = attribute("text:start-value");
        levels << attribute("text:bullet-char") + attribute("style:num-format") +
                      (start.isEmpty() || start == QStringLiteral("1")
                           ? QString()
                           : QStringLiteral(" from ") + start);
        _reader.skipCurrentElement();
    }
    _listStyles.insert(name, levels);
}

void OpenDocumentOutline::readBody() {
    int depth = 1;
    while (depth > 0 && !_reader.atEnd()) {
        switch (_reader.readNext()) {
            case QXmlStreamReader::StartElement:
                if (_reader.qualifiedName() == QStringLiteral("text:sequence-decls") ||
                    _reader.qualifiedName() == QStringLiteral("office:binary-data")) {
                    _reader.skipCurrentElement();
                } else {
                    ++depth;
                    start();
                }
                break;
            case QXmlStreamReader::EndElement:
                if (--depth > 0)
                    end();
                break;
            case QXmlStreamReader::Characters:
                // The text between elements is file layout, not content.
                if (!_reader.text().startsWith(QLatin1Char('\n')))
                    _paragraph += _reader.text();
                break;
            default:
                break;
        }
    }
}

void OpenDocumentOutline::start() {
    const QString name = _reader.qualifiedName().toString();
    if (name == QStringLiteral("text:p") || name == QStringLiteral("text:h")) {
        _lastSpan.clear();
        _paragraph = name.last(1) + attribute("text:outline-level") +
                     styleOf(attribute("text:style-name")) + QStringLiteral(": ");
    } else if (name == QStringLiteral("text:span")) {
        _openSpan = styleOf(attribute("text:style-name"));
        // Where a word processor divides a run of one style says nothing.
        if (_openSpan == _lastSpan && _paragraph.size() == _lastSpanEnd)
            _paragraph.chop(1);
        else if (!_openSpan.isEmpty())
            _paragraph += QLatin1Char('{') + _openSpan.trimmed() + QLatin1Char('|');
    } else if (name == QStringLiteral("text:a")) {
        _paragraph += QLatin1Char('<') + attribute("xlink:href") + QLatin1Char('|');
    } else if (name == QStringLiteral("text:s")) {
        _paragraph += QString(qMax(1, attribute("text:c").toInt()), QLatin1Char(' '));
    } else if (name == QStringLiteral("text:tab")) {
        _paragraph += QStringLiteral("[tab]");
    } else if (name == QStringLiteral("text:line-break")) {
        _paragraph += QStringLiteral("[line]");
    } else if (name == QStringLiteral("draw:frame")) {
        _paragraph +=
            QStringLiteral("[picture %1 %2").arg(attribute("svg:width"), attribute("svg:height"));
    } else if (name == QStringLiteral("draw:image")) {
        _paragraph += QLatin1Char(' ') + attribute("draw:mime-type") + QLatin1Char(']');
    } else if (name == QStringLiteral("text:list")) {
        const QString style = attribute("text:style-name");
        _lists << (style.isEmpty() && !_lists.isEmpty() ? _lists.last() : style);
    } else if (name == QStringLiteral("text:list-item")) {
        line(QStringLiteral("item %1 %2")
                 .arg(_lists.size())
                 .arg(_listStyles.value(_lists.last()).value(_lists.size() - 1)));
        ++_indent;
    } else if (name == QStringLiteral("table:table")) {
        line(QStringLiteral("table"));
        ++_indent;
    } else if (name == QStringLiteral("table:table-row")) {
        line(QStringLiteral("row"));
        ++_indent;
    } else if (name == QStringLiteral("table:table-cell")) {
        QString cell = QStringLiteral("cell") + styleOf(attribute("table:style-name"));
        const QString columns = attribute("table:number-columns-spanned");
        const QString rows = attribute("table:number-rows-spanned");
        if (!columns.isEmpty())
            cell += QStringLiteral(" columns ") + columns;
        if (!rows.isEmpty())
            cell += QStringLiteral(" rows ") + rows;
        line(cell);
        ++_indent;
    }
}

void OpenDocumentOutline::end() {
    const QString name = _reader.qualifiedName().toString();
    if (name == QStringLiteral("text:p") || name == QStringLiteral("text:h")) {
        line(_paragraph);
    } else if (name == QStringLiteral("text:span")) {
        if (!_openSpan.isEmpty()) {
            _paragraph += QLatin1Char('}');
            _lastSpanEnd = _paragraph.size();
        }
        _lastSpan = std::exchange(_openSpan, QString());
    } else if (name == QStringLiteral("text:a")) {
        _paragraph += QLatin1Char('>');
    } else if (name == QStringLiteral("text:list")) {
        _lists.removeLast();
    } else if (name == QStringLiteral("text:list-item") || name == QStringLiteral("table:table") ||
               name == QStringLiteral("table:table-row") ||
               name == QStringLiteral("table:table-cell")) {
        --_indent;
    }
}

void OpenDocumentOutline::line(const QString &text) {
    _lines << QString(2 * _indent, QLatin1Char(' ')) + text.trimmed();
}

QString OpenDocumentOutline::styleOf(const QString &name) const {
    const Properties properties = _styles.value(name);
    QString outline;
    for (const Property &property : interesting) {
        const QString value = properties.value(QLatin1String(property.name));
        if (!value.isEmpty() && value != QLatin1String(property.ordinary))
            outline += QLatin1Char(' ') + QLatin1String(property.label) + value;
    }
    return outline;
}

QString OpenDocumentOutline::attribute(const char *qualifiedName) const {
    return _reader.attributes().value(QLatin1String(qualifiedName)).toString();
}

}  // namespace pelorinnews::test
