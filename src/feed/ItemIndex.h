#pragma once

#include "OlvNewsItemList.h"

#include <QString>

#include <limits>
#include <vector>

namespace pelorinnews {

/// The fields that the filter needs from each item of a list, read once and contiguous in memory.
/// Reading them from 100,000 items, each with its own lock, would block the main thread too long.
/// Immutable; the items must not change either.
class ItemIndex {
public:
    static constexpr qint64 undated = std::numeric_limits<qint64>::min();
    static constexpr qint32 uncategorized = -1;

    struct Entry {
        /// The item's date in milliseconds since the epoch, or `undated`.
        qint64 instant;
        /// Index of the item's category in `categories`, or `uncategorized`.
        qint32 category;
    };

    explicit ItemIndex(OlvNewsItemListRef list);

    [[nodiscard]] const OlvNewsItemListRef &items() const { return _listed; }
    /// One entry for each item, in the order of the list.
    [[nodiscard]] const std::vector<Entry> &entries() const { return _indexed; }
    /// The distinct categories.
    [[nodiscard]] const std::vector<QString> &categories() const { return _found; }

private:
    OlvNewsItemListRef _listed;
    std::vector<Entry> _indexed;
    std::vector<QString> _found;
};

}  // namespace pelorinnews
