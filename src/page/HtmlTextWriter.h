#pragma once

#include "HtmlCost.h"

#include <QString>
#include <QStringView>

namespace pelorinnews {

/// Writes a page's text for a text document: unchanged, but escaped so that no tag can begin in it,
/// and without what makes layout slow. Text for display can break within very long words. A block
/// keeps at most 100 direction characters (isolates, embeddings).
class HtmlTextWriter {
public:
    HtmlTextWriter(QString &out, HtmlCost &cost) : _out(out), _cost(cost) {}

    /// `text` is undecoded text of the page, with its character references. `preserved`: the page's
    /// line breaks are kept.
    void write(QStringView text, size_t font, bool preserved);
    /// The following text starts on a new line.
    void startBlock();
    /// A line can break here.
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
