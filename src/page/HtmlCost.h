#pragma once

#include <QSet>
#include <QString>
#include <QStringView>

#include <chrono>

namespace pelorinnews {

/// Estimates the CPU time that a `QTextDocument` needs for a page: adds up the cost of each
/// construct that `BoundedHtml` reports while it rewrites the page for the document. Adding is
/// accurate enough, because the rewritten page consists of few, simple HTML constructs, each of
/// which costs about the same wherever it occurs. The costs were measured; they are rather too high
/// than too low.
class HtmlCost {
public:
    /// The use of the document: a document for copying is never laid out, and layout costs most.
    enum class Purpose { Copy, Display };

    explicit HtmlCost(Purpose purpose) : _display(purpose == Purpose::Display) {}

    /// Counts a character that is written. `font` identifies its font: the first text of each font
    /// and script costs a font lookup.
    void addCharacter(char32_t character, size_t font);
    /// Counts characters that are read from the page, whether or not they are written.
    void addRead(qsizetype characters);
    /// Counts a tag that is read. For an end tag, `lookups` is the number of open elements that
    /// are searched for its start tag.
    void addTag(qsizetype lookups = 0);
    /// Counts a start tag that is written; `length` is its number of characters, all attributes
    /// included.
    void addElement(bool isBlock, qsizetype length);
    void addDeclarations(qsizetype count);
    void addLineBreak();
    /// Counts an image; `before` is the number of earlier images in the same block.
    void addPicture(int before, qsizetype addressLength);
    /// Sets the table nesting depth of the content that follows; 0 outside of all tables.
    void setTableDepth(int depth) { _tableDepth = depth; }
    /// Counts `count` more grid positions of the innermost table.
    void addCells(qint64 count);
    /// Counts the work for spanning cells. `count` is the increase of this product: number of
    /// spanning cells in the innermost table, times number of its grid positions.
    void addSpans(qint64 count);

    /// The CPU time that remains for decoding the page's images; never less than some milliseconds.
    [[nodiscard]] std::chrono::nanoseconds timeForPictures() const;
    /// Whether the page exceeds its time limit.
    [[nodiscard]] bool isTooMuch() const;
    /// Whether the page uses more than a quarter of its time limit. Such a page is longer than any
    /// window.
    [[nodiscard]] bool isMuch() const;
    [[nodiscard]] bool isDisplay() const { return _display; }

private:
    void addLayout(std::chrono::nanoseconds layout);

    bool _display;
    int _tableDepth = 0;
    std::chrono::nanoseconds _time{0};
    int _script = 0;
    /// How many combining marks came last.
    int _marks = 0;
    /// Whether the last character that has a direction is written from right to left.
    bool _isRightToLeft = false;
    size_t _pair = 0;
    QSet<size_t> _fonts;
};

}  // namespace pelorinnews
