#pragma once

#include "HtmlCost.h"

#include <QString>
#include <QStringView>

namespace pelorinnews {

/// Writes a page's text for a `QTextDocument`. Escapes the text, so that no tag can begin in it,
/// and limits what makes layout slow: text for display gets break opportunities (zero-width spaces)
/// in very long words, and a block keeps at most 100 direction characters (isolates, embeddings).
class HtmlTextWriter {
public:
    HtmlTextWriter(QString &out, HtmlCost &cost) : _out(out), _cost(cost) {}

    /// `text` is undecoded text of the page, with its character references. `preserved` tells
    /// whether the page's line breaks are kept, as in `pre`.
    void write(QStringView text, size_t font, bool preserved);
    /// Call this before text that starts on a new line.
    void startBlock();
    /// Call this where a line can break.
    void startWord() { _word = 0; }

private:
    void writeCharacter(char32_t character, size_t font, bool preserved);
    void countWord(bool mark);

    QString &_out;
    HtmlCost &_cost;
    int _word = 0;
    int _directionsInBlock = 0;
};

}  // namespace pelorinnews
