#pragma once

#include "OlvNewsCache.h"

#include <QDateTime>
#include <QStringList>

#include <mutex>

namespace pelorinnews {

/// The news cache as the window sees it: only the items that meet every condition of the filter, in
/// feed order, and with the moment the user last looked at the news.
///
/// Each change of the filter, and each refresh that leaves items, filters anew; when the call that
/// changed something returns, the view shows the change, whatever other threads do meanwhile.
/// Comparing with a date that is absent never holds: an item without a date meets no condition on
/// dates, and without a last viewing no item counts as unviewed.
class OlvNewsCacheFiltered : public OlvNewsCache {
public:
    /// Tells the present time.
    using Clock = std::function<QDateTime()>;

    explicit OlvNewsCacheFiltered(std::shared_ptr<UrlLoader> loader = UrlLoader::shared(),
                                  Clock clock = QDateTime::currentDateTimeUtc);

    /// Refreshes and filters anew before `completion` (which may be empty) is called, even when
    /// the download failed. An empty feed leaves the view as it was.
    void refresh(RefreshCompletion completion) override;

    /// The number of items in the view; 0 before the first filter run.
    [[nodiscard]] quint64 count() const override;

    /// The number of all items.
    [[nodiscard]] quint64 unfilteredCount() const { return OlvNewsCache::count(); }

    /// The item at `index` of the view, or null when there is none. It counts as viewed from now
    /// on, with every older item: a last viewing that is set moves forward to its date. The view
    /// stays as it is until the next filter run.
    [[nodiscard]] std::shared_ptr<OlvNewsCacheItem> itemAtIndex(quint64 index) override;

    /// The item of the view with the latest date, the first of several; the first item when none
    /// has a date; null when the view is empty. Marks nothing as viewed.
    [[nodiscard]] std::shared_ptr<OlvNewsCacheItem> peekAtLatestItem() const;

    /// Builds the view from all items.
    void applyFilter();

    /// Keeps only items whose category contains every one of these texts, each taken as it stands
    /// (quotes too), case counting. The empty text is contained in every category that is present.
    void setCategoriesOfInterest(const QStringList &categories);

    /// Keeps only items dated later than this many seconds ago; 0 is no limit. A negative age keeps
    /// items that far in the future, an infinite one all items with a date (negative: none), one
    /// that is not a number none.
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
