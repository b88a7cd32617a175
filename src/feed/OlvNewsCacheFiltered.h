#pragma once

#include "OlvNewsCache.h"

#include <QDateTime>
#include <QStringList>

#include <mutex>

namespace pelorinnews {

/// The news cache as the window sees it: only the items that meet every condition of the filter, in
/// feed order, plus the time at which the user last viewed the news.
///
/// Each change of the filter, and each refresh after which there are items, runs the filter again.
/// When the changing call returns, the view shows the change, even if other threads change the
/// filter concurrently. Comparing with an absent date is always false: an item without a date meets
/// no condition on dates, and without a last viewing no item counts as unviewed.
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

    /// The item at `index` of the view, or null when there is none. Marks it and every older item
    /// as viewed: a last viewing that is set moves forward to its date. The view does not change
    /// until the next filter run.
    [[nodiscard]] std::shared_ptr<OlvNewsCacheItem> itemAtIndex(quint64 index) override;

    /// The item of the view with the latest date, the first of several; the first item when none
    /// has a date; null when the view is empty. Marks nothing as viewed.
    [[nodiscard]] std::shared_ptr<OlvNewsCacheItem> peekAtLatestItem() const;

    /// Builds the view from all items.
    void applyFilter();

    /// Keeps only items whose category contains every one of these texts, literally (quotes too)
    /// and case-sensitively. Every category that is present contains the empty text.
    void setCategoriesOfInterest(const QStringList &categories);

    /// Keeps only items dated later than this many seconds ago; 0 is no limit. A negative age keeps
    /// only items dated that far in the future, infinity keeps all items with a date, negative
    /// infinity and NaN keep none.
    void setFilterTimeInterval(double seconds);

    /// Keeps only items dated later than the last viewing.
    void setShowOnlyUnviewedItems(bool onlyUnviewed);

    /// The number of items in the view that are dated later than the last viewing.
    [[nodiscard]] qint64 sinceLastViewingCount() const;

    /// When the user last viewed the news, in UTC; invalid while not set.
    [[nodiscard]] QDateTime lastViewing() const;

    /// Sets the last viewing, backwards too; an invalid date unsets it. Does not filter.
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
