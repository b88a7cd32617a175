#include "HtmlWriter.h"

#include "HtmlCost.h"
#include "OpenElement.h"

#include <utility>

namespace pelorinnews {

void HtmlWriter::writeStart(OpenElement &element, HtmlAttributes attributes,
                            const CssStyle &style) {
    _directed = _directed || !element.direction.isEmpty();
    if (element.written.isEmpty())
        return;
    QString styles = style.text();
    if (element.item >= 0)
        styles += (styles.isEmpty() ? QStringLiteral("-qt-user-state:")
                                    : QStringLiteral(";-qt-user-state:")) +
                  QString::number(element.item);
    if (!styles.isEmpty())
        attributes.emplaceBack(QStringLiteral("style"), styles);
    // In a `QTextDocument`, a direction set in a list or table also applies to what follows the
    // list or table. So once the page has set a direction, every element is written with an
    // explicit one.
    if (_directed)
        attributes.emplaceBack(QStringLiteral("dir"), element.direction.isEmpty()
                                                          ? QStringLiteral("ltr")
                                                          : element.direction);
    if (attributes.isEmpty() && element.written == QStringLiteral("span")) {
        element.written.clear();
        return;
    }
    const qsizetype before = _out.size();
    _out += QLatin1Char('<') + element.written;
    for (auto &[key, value] : attributes) {
        value.remove(QChar(QChar::Null));
        value.replace(QLatin1Char('"'), QStringLiteral("&quot;"));
        _out += QLatin1Char(' ') + key + QStringLiteral("=\"") + value + QLatin1Char('"');
    }
    _out += QLatin1Char('>');
    const bool block = element.isBlock();
    _cost.addElement(block, _out.size() - before);
    _cost.addDeclarations(style.size() + (element.item >= 0 ? 1 : 0));
    if (!block)
        return;
    startBlock();
    // A void block (`hr`) ends at its start tag.
    _afterBlock = element.kind->isVoid;
}

void HtmlWriter::writeEnd(const OpenElement &element) {
    _out += QStringLiteral("</") + element.written + QLatin1Char('>');
    if (!element.isBlock())
        return;
    startBlock();
    // After a table the document begins a block by itself.
    _afterBlock = element.role != OpenElement::Role::Table;
}

void HtmlWriter::writeLineBreak() {
    _out += QStringLiteral("<br>");
    _cost.addLineBreak();
    _text.startWord();
}

void HtmlWriter::writeText(QStringView text, const OpenElement &parent) {
    if (!text.trimmed().isEmpty())
        _afterBlock = false;
    _text.write(text, parent.font, parent.preserved);
}

void HtmlWriter::writePicture(OpenElement &element, HtmlAttributes attributes,
                              const CssStyle &style, qsizetype addressLength) {
    _cost.addPicture(_picturesInBlock++, addressLength);
    writeStart(element, std::move(attributes), style);
    _text.startWord();
}

void HtmlWriter::startBlock() {
    _text.startBlock();
    _picturesInBlock = 0;
    _afterBlock = false;
}

}  // namespace pelorinnews
