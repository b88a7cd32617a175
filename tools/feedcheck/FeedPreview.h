#pragma once

#include "feed/OlvNewsCacheFiltered.h"

#include "pelorinnews/Error.h"

#include <QStringList>

#include <array>
#include <set>

namespace pelorinnews {

/// What the panel would show of a feed: puts the parser's result into the panel's own cache and
/// runs the panel's own filters over it, for a user who has not viewed the news yet.
class FeedPreview {
public:
    enum Type { AllTypes, CriticalOnly, TypeCount };
    enum Age { Unread, Recent, AnyAge, AgeCount };

    explicit FeedPreview(const std::optional<QVariantMap> &feed);

    /// All items, in feed order.
    [[nodiscard]] const OlvNewsItemList &items() const { return _all; }

    [[nodiscard]] bool shows(const OlvNewsCacheItem &item, Type type, Age age) const {
        return shown(type, age).contains(&item);
    }
    [[nodiscard]] std::size_t count(Type type, Age age) const { return shown(type, age).size(); }

    /// The words that the category of an item must contain to be shown under `type`.
    [[nodiscard]] static QStringList categoriesOf(Type type);

private:
    using ItemSet = std::set<const OlvNewsCacheItem *>;

    [[nodiscard]] const ItemSet &shown(Type type, Age age) const { return _views[type][age]; }

    OlvNewsItemList _all;
    std::array<std::array<ItemSet, AgeCount>, TypeCount> _views;
};

}  // namespace pelorinnews
