#pragma once

#include "HtmlCost.h"

#include <QString>
#include <QStringView>

namespace pelorinnews {

/// Writes a page's text for a text document: as it stands, with what no tag can begin in it, and
/// without what makes layout slow. Text that is to be shown can break within endless words, and
/// keeps no more than 100 characters of direction (isolates, embeddings) in a block.
class HtmlTextWriter {
public:
    HtmlTextWriter(QString &out, HtmlCost &work) : _out(out), _work(work) {}

    /// `text` as it stands in the page, with its character references. `preserved`: lines end where
    /// the page's do.
    void write(QStringView text, size_t font, bool preserved);
    /// What follows stands on a line of its own.
    void startBlock();
    /// A line can end here.
    void startWord() { _word = 0; }

private:
    void writeCharacter(char32_t character, size_t font, bool preserved);
    void countWord(bool mark);

    QString &_out;
    HtmlCost &_work;
    int _word = 0;
    int _directionsInBlock = 0;
};

}  // namespace pelorinnews
