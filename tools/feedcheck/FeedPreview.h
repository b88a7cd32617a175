#pragma once

#include "feed/OlvNewsCacheFiltered.h"
#include "settings/NewsFilter.h"

#include "pelorinnews/Error.h"

#include <map>
#include <set>
#include <utility>

namespace pelorinnews {

/// What the panel would show of a feed: puts the parser's result into the panel's own cache and
/// runs the panel's own filters over it, for a user who has not viewed the news yet.
class FeedPreview {
public:
    explicit FeedPreview(const std::optional<QVariantMap> &feed);

    /// All items, in feed order.
    [[nodiscard]] const OlvNewsItemList &items() const { return _all; }

    [[nodiscard]] bool shows(const OlvNewsCacheItem &item, NewsTypeFilter type,
                             NewsFilter age) const {
        return shown(type, age).contains(&item);
    }
    [[nodiscard]] std::size_t count(NewsTypeFilter type, NewsFilter age) const {
        return shown(type, age).size();
    }

private:
    using ItemSet = std::set<const OlvNewsCacheItem *>;

    [[nodiscard]] const ItemSet &shown(NewsTypeFilter type, NewsFilter age) const {
        static const ItemSet none;
        const auto found = _views.find({type, age});
        return found == _views.end() ? none : found->second;
    }

    OlvNewsItemList _all;
    std::map<std::pair<NewsTypeFilter, NewsFilter>, ItemSet> _views;
};

}  // namespace pelorinnews
