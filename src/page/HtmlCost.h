#pragma once

#include <QSet>
#include <QString>
#include <QStringView>

namespace pelorinnews {

/// Adds up the estimated CPU time that a text document needs for a page, while the page is being
/// written for it. The output has only a few plain forms, so each costs about the same wherever it
/// occurs. The rates were measured, and are too high rather than too low.
class HtmlCost {
public:
    /// A document that is only copied from is never laid out, and layout costs most.
    enum class Purpose { Copy, Display };

    explicit HtmlCost(Purpose purpose) : _display(purpose == Purpose::Display) {}

    /// `font` identifies the font: the first text of each font and script costs a font lookup.
    void addCharacter(char32_t character, size_t font);
    /// `characters` of the page are read, whether or not they are written.
    void addRead(qsizetype characters);
    /// A tag of the page; for an end tag, `looks` open elements are searched.
    void addTag(qsizetype looks = 0);
    /// A start tag is written; `length` is its number of characters, all attributes included.
    void addElement(bool isBlock, qsizetype length);
    void addDeclarations(qsizetype count);
    void addLineBreak();
    /// `before` is the number of earlier pictures in the same block.
    void addPicture(int before, qsizetype addressLength);
    /// What follows lies in `depth` tables, one in another; 0 outside of all tables.
    void setTableDepth(int depth) { _tableDepth = depth; }
    /// `count` is a number of grid positions of the innermost table.
    void addCells(qint64 count);
    /// `count` is the number of spanning cells times the grid positions of their table.
    void addSpans(qint64 count);

    /// The page exceeds its time limit.
    [[nodiscard]] bool isTooMuch() const;
    /// More than a quarter of the limit is used: no window shows the whole page at once.
    [[nodiscard]] bool isMuch() const;
    [[nodiscard]] bool isDisplay() const { return _display; }

private:
    void addLayout(qint64 nanoseconds);

    bool _display;
    int _tableDepth = 0;
    qint64 _nanoseconds = 0;
    int _script = 0;
    size_t _pair = 0;
    QSet<size_t> _fonts;
};

}  // namespace pelorinnews
