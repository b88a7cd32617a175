#pragma once

#include "OlvNewsItemList.h"

#include <QString>

#include <limits>
#include <vector>

namespace pelorinnews {

/// What the filter asks of each item of a list, side by side in memory and read from the items
/// once: asking 100,000 items themselves, each with its own guards, takes longer than a main
/// thread may be kept waiting. Never changed; the items must not be either.
class ItemIndex {
public:
    static constexpr qint64 undated = std::numeric_limits<qint64>::min();
    static constexpr qint32 uncategorized = -1;

    struct Entry {
        /// The item's date in milliseconds since the epoch, or `undated`.
        qint64 instant;
        /// The place of the item's category among `categories`, or `uncategorized`.
        qint32 category;
    };

    explicit ItemIndex(OlvNewsItemListRef list);

    [[nodiscard]] const OlvNewsItemListRef &items() const { return listed; }
    /// One for each item, in the order of the list.
    [[nodiscard]] const std::vector<Entry> &entries() const { return indexed; }
    /// The different categories.
    [[nodiscard]] const std::vector<QString> &categories() const { return found; }

private:
    OlvNewsItemListRef listed;
    std::vector<Entry> indexed;
    std::vector<QString> found;
};

}  // namespace pelorinnews
