#pragma once

#include "page/PageList.h"

#include <QByteArray>
#include <QHash>

#include <vector>

namespace pelorinnews {

/// The lists of an RTF document. Each numbered list of the page, nested ones included, gets its own
/// entry, so that each counts by itself. If a list's numbering jumps or its marker changes, the
/// list continues in a new entry. Bulleted lists of the same kind and depth share an entry.
class RtfListTable {
public:
    /// The number, from 1, of the list that `item` belongs to, for `\ls` in the body. 0 if there
    /// are too many lists, or if RTF cannot count as the item's list does (negative numbers, or
    /// downwards): then write the marker as text. Pass the items in the page's order.
    [[nodiscard]] int number(const PageListItem &item);

    /// Nesting depth of the list that `item` belongs to, 0 to 8, for `\ilvl`.
    static int level(const PageListItem &item);

    /// Distance from a marker to the text of its item, in twips.
    static constexpr int markerWidth = 360;

    /// The bytes of the list table and the list override table; empty without lists.
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
