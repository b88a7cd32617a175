#pragma once

#include <QStringList>

#include <chrono>

namespace pelorinnews {

/// The types of items that the panel shows, as the preference "newsTypeFilter" stores them. A
/// stored number that is not listed here is kept, and acts like `All`.
enum class NewsTypeFilter : quint64 { All = 1, Critical = 2 };

/// The ages of items that the panel shows, as the preference "newsFilter" stores them. A stored
/// number that is not listed here is kept, and acts like `All`, except that for numbers above 3 the
/// panel shows an empty page if no item passes the filter.
enum class NewsFilter : quint64 { All = 1, Recent = 2, Unread = 3 };

/// Maximum age of the items that `NewsFilter::Recent` shows.
inline constexpr std::chrono::seconds recentNews = std::chrono::hours(30 * 24);

/// The words that must all occur in an item's category for the item to pass `filter`.
inline QStringList categoriesOf(NewsTypeFilter filter) {
    QStringList words{QStringLiteral("mac"), QStringLiteral("pelorin")};
    if (filter == NewsTypeFilter::Critical)
        words.append(QStringLiteral("critical"));
    return words;
}

}  // namespace pelorinnews
