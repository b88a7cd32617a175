#include "ItemIndex.h"

#include <QHash>

#include <utility>

namespace pelorinnews {

ItemIndex::ItemIndex(OlvNewsItemListRef list) : listed(std::move(list)) {
    QHash<QString, qint32> places;
    indexed.reserve(listed->size());
    for (const auto &item : *listed) {
        Entry entry{undated, uncategorized};
        if (const QDateTime date = item->date(); date.isValid())
            entry.instant = date.toMSecsSinceEpoch();
        if (const QString category = item->category(); !category.isNull()) {
            const auto known = places.constFind(category);
            if (known != places.cend()) {
                entry.category = *known;
            } else {
                entry.category = static_cast<qint32>(found.size());
                places.insert(category, entry.category);
                found.push_back(category);
            }
        }
        indexed.push_back(entry);
    }
}

}  // namespace pelorinnews
