#pragma once

#include "page/PageList.h"

#include <QByteArray>
#include <QHash>

#include <vector>

namespace pelorinnews {

/// The lists of an RTF document. Each numbered list of the page, nested ones included, is a list of
/// its own here, so that every numbering counts by itself, and so is the rest of one that goes on
/// with another number. Bulleted ones of the same kind and depth share an entry.
class RtfListTable {
public:
    /// The number of the list that `item` goes into, from 1, for the body's `\ls`; 0 when there are
    /// too many and for numbers that RTF does not count, below 0 or downwards: then the item has to
    /// carry its number as text. Items come in the page's order.
    [[nodiscard]] int number(const PageListItem &item);

    /// How deep the list lies, 0 to 8, for `\ilvl`.
    static int level(const PageListItem &item);

    /// How far before their text the items' markers stand, in twips.
    static constexpr int markerWidth = 360;

    /// Both tables' bytes; empty without lists.
    [[nodiscard]] QByteArray bytes() const;

private:
    struct Entry {
        ListMarker marker;
        int start;
    };
    struct Counting {
        int number = 0;
        ListMarker marker = ListMarker::Decimal;
        int next = 0;
    };

    [[nodiscard]] int add(const Entry &entry);

    std::vector<Entry> _entries;
    QHash<int, Counting> _countings;
    QHash<int, int> _bulletNumbers;
};

}  // namespace pelorinnews
