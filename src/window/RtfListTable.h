#pragma once

#include <QByteArray>
#include <QHash>
#include <QTextList>

#include <vector>

namespace pelorinnews {

/// The lists of an RTF document. Each list of the text document, nested ones included, is a list
/// of its own here, so that every numbering counts by itself; bulleted ones of the same kind and
/// depth share an entry.
class RtfListTable {
public:
    /// The number of `list`, from 1, for the body's `\ls`; 0 when there are too many: then the
    /// item has to carry its number as text.
    [[nodiscard]] int number(const QTextList &list);

    /// How deep the list lies, 0 to 8, for `\ilvl`.
    static int level(const QTextListFormat &format);

    /// Where the items' text begins, in twips from the margin.
    static int textIndent(const QTextListFormat &format);

    /// The number or bullet of `item`, as text.
    static QString marker(const QTextList &list, const QTextBlock &item);

    /// How far before their text the items' markers stand, in twips.
    static constexpr int markerWidth = 360;

    /// Both tables' bytes; empty without lists.
    [[nodiscard]] QByteArray bytes() const;

private:
    struct Entry {
        QTextListFormat::Style style;
        int level;
    };

    std::vector<Entry> _entries;
    QHash<int, int> _numbersByObject;
    QHash<int, int> _bulletNumbers;
};

}  // namespace pelorinnews
