#pragma once

#include "HtmlWork.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace pelorinnews {

/// Prepares a page's HTML for a text document, which takes hostile or careless HTML in badly: its
/// time and memory grow with the square of the nesting, of the longest word and of the pictures in
/// a paragraph, with tags times style rules, and with two to the power of tables in each other, so
/// that some hundred bytes can occupy it for ever.
///
/// The result means the same, but is written in one plain way: comments, scripts, frames and other
/// content that a page does not show as text are gone, end tags match, attributes are quoted,
/// column and row spans are numbers within bounds. It costs a document about a quarter of a second
/// at most; pages beyond that are some hundred thousand words long, or mean no good.
class BoundedHtml {
public:
    /// The whole page, for a document that is copied from; absent for an absent text and for one
    /// that costs too much.
    static std::optional<QString> prepared(const QString &html);

    /// As much of the page, from its beginning, as a document can take in and lay out in time; an
    /// ellipsis ends what had to be cut.
    static QString beginning(const QString &html);

private:
    struct Table {
        qint64 rows = 0;
        qint64 columns = 0;
        qint64 columnsOfRow = 0;
        qint64 columnsFromAbove = 0;
        qint64 rowsBelow = 0;

        [[nodiscard]] qint64 cells() const { return (rows + rowsBelow) * columns; }
    };
    using Attributes = QList<std::pair<QString, QString>>;

    BoundedHtml(const QString &html, HtmlWork::Purpose purpose) : _html(html), _work(purpose) {}

    // False where it became too much; what was prepared until then is there.
    bool run();
    void readMarkup();
    void readComment();
    void readEndTag();
    void readStartTag();
    [[nodiscard]] Attributes readAttributes();
    [[nodiscard]] QString readWord();
    [[nodiscard]] QStringView readRawText(const QString &name);
    void skipSpace();
    void skipPast(QStringView end);

    void open(const QString &name, Attributes attributes);
    // Once a direction is stated, every element states its own: the document would carry it on past
    // the end of a list or table.
    void inheritDirection(Attributes &attributes);
    void countCell(Attributes &attributes);
    void countRow();
    void closeImplied(const QString &next);
    void popElement();
    void writeText(QStringView text);
    void writeStartTag(const QString &name, const Attributes &attributes);

    const QString &_html;
    qsizetype _position = 0;
    QString _out;
    QStringList _elements;
    QStringList _directions;
    bool _directed = false;
    QHash<QString, int> _openByName;
    QList<Table> _tables;
    // How many elements stood open before the hidden one that we are in; -1 outside of any.
    qsizetype _shownElements = -1;
    HtmlWork _work;
};

}  // namespace pelorinnews
