#include "OlvNewsCacheFiltered.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace pelorinnews {

namespace {

constexpr double millisecondsPerSecond = 1000;

/// An item's date in milliseconds since the epoch, if it has one.
std::optional<qint64> instantOf(const OlvNewsCacheItem &item) {
    const QDateTime date = item.date();
    if (!date.isValid())
        return std::nullopt;
    return date.toMSecsSinceEpoch();
}

/// The conditions of one filter run.
struct Conditions {
    QStringList categories;
    /// Milliseconds since the epoch. Floating-point, because an age may be infinite or NaN.
    std::optional<double> cutOff;
    /// The last viewing, in milliseconds since the epoch; set if only the items dated later are
    /// wanted. `ItemIndex::undated` if nothing was viewed yet: then no item counts as later.
    std::optional<qint64> lastViewing;

    [[nodiscard]] bool none() const { return categories.isEmpty() && !cutOff && !lastViewing; }

    [[nodiscard]] OlvNewsItemListRef apply(const ItemIndex &index) const;

private:
    [[nodiscard]] bool hold(qint64 instant) const {
        if (!cutOff && !lastViewing)
            return true;
        return instant != ItemIndex::undated &&
               (!cutOff || static_cast<double>(instant) > *cutOff) &&
               (!lastViewing || (*lastViewing != ItemIndex::undated && instant > *lastViewing));
    }

    [[nodiscard]] bool hold(const QString &category) const {
        return std::all_of(categories.cbegin(), categories.cend(),
                           [&category](const QString &text) { return category.contains(text); });
    }
};

OlvNewsItemListRef Conditions::apply(const ItemIndex &index) const {
    std::vector<char> holdsFor;
    holdsFor.reserve(index.categories().size());
    for (const QString &category : index.categories())
        holdsFor.push_back(hold(category) ? 1 : 0);

    auto passed = std::make_shared<OlvNewsItemList>();
    const auto &items = *index.items();
    const auto &entries = index.entries();
    for (std::size_t place = 0; place < entries.size(); ++place) {
        const auto &[instant, category] = entries[place];
        const bool rightCategory = category == ItemIndex::uncategorized
                                       ? categories.isEmpty()
                                       : holdsFor[static_cast<std::size_t>(category)] != 0;
        if (rightCategory && hold(instant))
            passed->push_back(items[place]);
    }
    return shareItemList(std::move(passed));
}

}  // namespace

OlvNewsCacheFiltered::OlvNewsCacheFiltered(std::shared_ptr<UrlLoader> loader, Clock clock)
    : OlvNewsCache(std::move(loader)), _clock(std::move(clock)) {}

void OlvNewsCacheFiltered::refresh(RefreshCompletion completion) {
    // The base class keeps this cache alive until the completion has run.
    OlvNewsCache::refresh(
        [this, completion = std::move(completion)](const std::optional<Error> &error) {
            if (unfilteredCount() > 0)
                applyFilter();
            if (completion)
                completion(error);
        });
}

void OlvNewsCacheFiltered::applyFilter() {
    // A setter stores its value before its run takes a number, so the run with the highest number
    // has seen all changes. An older run that ends later is stale: it must not replace the view.
    const quint64 run = ++_filterRuns;

    Conditions conditions;
    conditions.categories = _categories.get();
    if (const double age = _age; age != 0)
        conditions.cutOff =
            static_cast<double>(_clock().toMSecsSinceEpoch()) - age * millisecondsPerSecond;
    if (_showOnlyUnviewedItems)
        conditions.lastViewing = _lastViewing;

    const Retrieved retrieved = _retrieved.get();
    OlvNewsItemListRef view = conditions.none() || !retrieved.index
                                  ? retrieved._feedItems
                                  : conditions.apply(*retrieved.index);

    const std::lock_guard lock(_viewMutex);
    if (run > _viewRun) {
        _viewRun = run;
        _filteredItems.swap(view);
    }
}

quint64 OlvNewsCacheFiltered::count() const {
    const OlvNewsItemListRef items = filteredItems();
    return items ? items->size() : 0;
}

std::shared_ptr<OlvNewsCacheItem> OlvNewsCacheFiltered::itemAtIndex(quint64 index) {
    const OlvNewsItemListRef items = filteredItems();
    if (!items || index >= items->size())
        return nullptr;
    const std::shared_ptr<OlvNewsCacheItem> &item = (*items)[index];
    if (const std::optional<qint64> instant = instantOf(*item)) {
        // Another thread may move the last viewing concurrently: the latest date wins.
        qint64 viewed = _lastViewing;
        while (viewed != ItemIndex::undated && viewed < *instant &&
               !_lastViewing.compare_exchange_weak(viewed, *instant)) {
        }
    }
    return item;
}

std::shared_ptr<OlvNewsCacheItem> OlvNewsCacheFiltered::peekAtLatestItem() const {
    const OlvNewsItemListRef items = filteredItems();
    if (!items || items->empty())
        return nullptr;
    const std::shared_ptr<OlvNewsCacheItem> *latest = &items->front();
    std::optional<qint64> latestInstant;
    for (const auto &item : *items) {
        const std::optional<qint64> instant = instantOf(*item);
        if (instant > latestInstant) {
            latest = &item;
            latestInstant = instant;
        }
    }
    return *latest;
}

void OlvNewsCacheFiltered::setCategoriesOfInterest(const QStringList &categories) {
    _categories.set(categories);
    applyFilter();
}

void OlvNewsCacheFiltered::setFilterTimeInterval(double seconds) {
    _age = seconds;
    applyFilter();
}

void OlvNewsCacheFiltered::setShowOnlyUnviewedItems(bool onlyUnviewed) {
    _showOnlyUnviewedItems = onlyUnviewed;
    applyFilter();
}

qint64 OlvNewsCacheFiltered::sinceLastViewingCount() const {
    const OlvNewsItemListRef items = filteredItems();
    const qint64 viewed = _lastViewing;
    if (!items || viewed == ItemIndex::undated)
        return 0;
    return std::count_if(items->cbegin(), items->cend(), [viewed](const auto &item) {
        return instantOf(*item) > std::optional(viewed);
    });
}

QDateTime OlvNewsCacheFiltered::lastViewing() const {
    const qint64 viewed = _lastViewing;
    return viewed == ItemIndex::undated ? QDateTime()
                                        : QDateTime::fromMSecsSinceEpoch(viewed, Qt::UTC);
}

void OlvNewsCacheFiltered::setLastViewing(const QDateTime &date) {
    _lastViewing = date.isValid() ? date.toMSecsSinceEpoch() : ItemIndex::undated;
}

OlvNewsItemListRef OlvNewsCacheFiltered::filteredItems() const {
    const std::lock_guard lock(_viewMutex);
    return _filteredItems;
}

}  // namespace pelorinnews
