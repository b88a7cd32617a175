#include "ItemIndex.h"

#include <QHash>

#include <utility>

namespace pelorinnews {

ItemIndex::ItemIndex(OlvNewsItemListRef list) : _listed(std::move(list)) {
    QHash<QString, qint32> places;
    _indexed.reserve(_listed->size());
    for (const auto &item : *_listed) {
        Entry entry{undated, uncategorized};
        if (const QDateTime date = item->date(); date.isValid())
            entry.instant = date.toMSecsSinceEpoch();
        if (const QString category = item->category(); !category.isNull()) {
            const auto known = places.constFind(category);
            if (known != places.cend()) {
                entry.category = *known;
            } else {
                entry.category = static_cast<qint32>(_found.size());
                places.insert(category, entry.category);
                _found.push_back(category);
            }
        }
        _indexed.push_back(entry);
    }
}

}  // namespace pelorinnews
