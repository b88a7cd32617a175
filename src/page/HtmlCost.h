#pragma once

#include <QSet>
#include <QString>
#include <QStringView>

namespace pelorinnews {

/// Adds up what a page costs a text document, while it is being written for one. What is written
/// is of a few plain forms, so that each costs about as much wherever it stands; the rates were
/// measured, and are meant to be too high rather than too low.
class HtmlCost {
public:
    /// A document that is only copied from is never laid out, which is what costs most.
    enum class Purpose { Copy, Display };

    explicit HtmlCost(Purpose purpose) : _display(purpose == Purpose::Display) {}

    /// `font` tells fonts apart: text that is the first of its font and script has that looked up.
    void addCharacter(char32_t character, size_t font);
    /// One piece of the page is read, whatever becomes of it.
    void addRead(qsizetype characters);
    /// An end tag is looked for among `looks` open elements.
    void addTag(qsizetype looks = 0);
    /// A start tag that is written, with all attributes in `length` characters.
    void addElement(bool block, qsizetype length);
    void addDeclarations(qsizetype count);
    void addLineBreak();
    /// `before` other pictures stand in the same block.
    void addPicture(int before, qsizetype addressLength);
    /// Places in the grid of a table that lies in `depth` - 1 others.
    void addCells(qint64 count, int depth);
    /// Cells that span others, times places in the grid of their table.
    void addSpans(qint64 count);

    /// The time that a page may take is used up.
    [[nodiscard]] bool isTooMuch() const;
    /// A good part of it is: no window shows the whole page at once.
    [[nodiscard]] bool isMuch() const;
    [[nodiscard]] bool isDisplay() const { return _display; }

private:
    bool _display;
    qint64 _nanoseconds = 0;
    int _script = 0;
    size_t _pair = 0;
    QSet<size_t> _fonts;
};

}  // namespace pelorinnews
