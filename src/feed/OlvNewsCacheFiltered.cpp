#include "OlvNewsCacheFiltered.h"

#include "CategoryTest.h"

#include <algorithm>
#include <optional>
#include <utility>

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

/// The conditions on dates: strictly later than each moment that is set.
struct DateTest {
    /// A floating-point number, because an age may be infinite, or none at all.
    std::optional<double> cutOff;
    std::optional<qint64> lastViewing;

    [[nodiscard]] bool isTrivial() const { return !cutOff && !lastViewing; }
    [[nodiscard]] bool passes(const OlvNewsCacheItem &item) const {
        if (isTrivial())
            return true;
        const std::optional<qint64> instant = instantOf(item);
        return instant && (!cutOff || static_cast<double>(*instant) > *cutOff) &&
               (!lastViewing || *instant > *lastViewing);
    }
};

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
    // Every change comes before its own run takes a number, so the run with the highest number has
    // seen all changes: an older run that ends after it must not replace its view.
    const quint64 run = ++_filterRuns;

    CategoryTest categories(_categories.get());
    DateTest dates;
    if (const double age = _age; age != 0)
        dates.cutOff =
            static_cast<double>(_clock().toMSecsSinceEpoch()) - age * millisecondsPerSecond;
    bool nothingPasses = false;
    if (_showOnlyUnviewedItems) {
        const qint64 viewed = _lastViewing;
        nothingPasses = viewed == neverViewed;
        dates.lastViewing = viewed;
    }

    OlvNewsItemListRef view = feedItems();
    if (view && !(categories.isTrivial() && dates.isTrivial())) {
        auto passed = std::make_shared<OlvNewsItemList>();
        if (!nothingPasses) {
            std::copy_if(view->cbegin(), view->cend(), std::back_inserter(*passed),
                         [&](const std::shared_ptr<OlvNewsCacheItem> &item) {
                             return categories.passes(item->category()) && dates.passes(*item);
                         });
        }
        view = shareItemList(std::move(passed));
    }

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
        // Another thread may move it at the same time: the latest date stays.
        qint64 viewed = _lastViewing;
        while (viewed != neverViewed && viewed < *instant &&
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
    if (!items || viewed == neverViewed)
        return 0;
    return std::count_if(items->cbegin(), items->cend(), [viewed](const auto &item) {
        return instantOf(*item) > std::optional(viewed);
    });
}

QDateTime OlvNewsCacheFiltered::lastViewing() const {
    const qint64 viewed = _lastViewing;
    return viewed == neverViewed ? QDateTime() : QDateTime::fromMSecsSinceEpoch(viewed, Qt::UTC);
}

void OlvNewsCacheFiltered::setLastViewing(const QDateTime &date) {
    _lastViewing = date.isValid() ? date.toMSecsSinceEpoch() : neverViewed;
}

OlvNewsItemListRef OlvNewsCacheFiltered::filteredItems() const {
    const std::lock_guard lock(_viewMutex);
    return _filteredItems;
}

}  // namespace pelorinnews
