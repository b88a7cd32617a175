#pragma once

#include "OlvNewsCache.h"

#include <QDateTime>
#include <QStringList>

#include <mutex>

namespace pelorinnews {

/// The news cache as the window sees it. Adds a view, which holds only the items that meet every
/// condition of the filter, in feed order, and the time at which the user last viewed the news.
///
/// The filter runs again when one of its settings changes, and after each refresh if there are
/// items. When a setter returns, the view reflects the change, even if other threads change the
/// filter concurrently. Any comparison with an absent date is false: an item without a date meets
/// no condition on dates, and while the last viewing is not set, no item counts as unviewed.
class OlvNewsCacheFiltered : public OlvNewsCache {
public:
    /// Returns the current time.
    using Clock = std::function<QDateTime()>;

    explicit OlvNewsCacheFiltered(std::shared_ptr<UrlLoader> loader = UrlLoader::shared(),
                                  Clock clock = QDateTime::currentDateTimeUtc);

    /// Refreshes, and runs the filter again before `completion` (which may be empty) is called,
    /// even if the download failed. An empty feed leaves the view as it was.
    void refresh(RefreshCompletion completion) override;

    /// The number of items in the view; 0 before the first filter run.
    [[nodiscard]] quint64 count() const override;

    /// The number of all items.
    [[nodiscard]] quint64 unfilteredCount() const { return OlvNewsCache::count(); }

    /// The item at `index` of the view, or null when there is none. Marks this item and every older
    /// one as viewed: moves the last viewing, if one is set, forward to the date of this item. The
    /// view does not change until the next filter run.
    [[nodiscard]] std::shared_ptr<OlvNewsCacheItem> itemAtIndex(quint64 index) override;

    /// The item of the view with the latest date (the first one if several share it); the first
    /// item if none has a date; null if the view is empty. Marks nothing as viewed.
    [[nodiscard]] std::shared_ptr<OlvNewsCacheItem> peekAtLatestItem() const;

    /// Builds the view from all items.
    void applyFilter();

    /// Keeps only items whose category contains every one of these texts, literally (quotes too)
    /// and case-sensitively. An empty text matches any category, but no item without one.
    void setCategoriesOfInterest(const QStringList &categories);

    /// Keeps only items dated later than this many seconds ago; 0 is no limit. A negative value
    /// keeps only items dated more than that many seconds in the future, infinity keeps all items
    /// with a date, and negative infinity and NaN keep none.
    void setFilterTimeInterval(double seconds);

    /// Keeps only items dated later than the last viewing.
    void setShowOnlyUnviewedItems(bool onlyUnviewed);

    /// The number of items in the view that are dated later than the last viewing.
    [[nodiscard]] qint64 sinceLastViewingCount() const;

    /// When the user last viewed the news, in UTC; invalid while not set.
    [[nodiscard]] QDateTime lastViewing() const;

    /// Sets the last viewing, also to an earlier date; an invalid date unsets it. Does not run the
    /// filter.
    void setLastViewing(const QDateTime &date);

private:
    [[nodiscard]] OlvNewsItemListRef filteredItems() const;

    Clock _clock;
    GuardedSlot<QStringList> _categories;
    std::atomic<double> _age = 0;
    std::atomic<bool> _showOnlyUnviewedItems = false;
    /// Milliseconds since the epoch, or `ItemIndex::undated`.
    std::atomic<qint64> _lastViewing = ItemIndex::undated;

    std::atomic<quint64> _filterRuns = 0;
    mutable std::mutex _viewMutex;
    quint64 _viewRun = 0;
    OlvNewsItemListRef _filteredItems;
};

}  // namespace pelorinnews
