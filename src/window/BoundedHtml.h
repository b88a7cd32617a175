#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace pelorinnews {

/// Prepares a page's HTML for a text document, which takes hostile or careless HTML in badly: its
/// time and memory grow with the square of the nesting, with tags times style rules, and with rows
/// times columns, so that a few kilobytes can occupy it for minutes.
///
/// The result means the same, but is written in one plain way: comments, scripts, frames and other
/// content that a page does not show as text are gone, end tags match, attributes are quoted,
/// column and row spans are numbers within bounds.
class BoundedHtml {
public:
    /// The longest text that is taken in.
    static constexpr qsizetype mostCharacters = qsizetype{16} * 1024 * 1024;

    /// The prepared text; absent for an absent text and for one that is too long, too deeply nested
    /// or too rich in tags, style rules or table cells to be taken in within a few seconds.
    static std::optional<QString> prepared(const QString &html);

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

    explicit BoundedHtml(const QString &html) : _html(html) {}

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
    qint64 _cells = 0;
    qint64 _styleRules = 0;
    qint64 _work = 0;
};

}  // namespace pelorinnews
