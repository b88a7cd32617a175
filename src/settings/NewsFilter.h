#pragma once

#include <QStringList>

#include <chrono>

namespace pelorinnews {

/// The types of items that the panel shows, as the preference "newsTypeFilter" stores them. A
/// stored number without a name here is kept as it is, and shows what `All` shows.
enum class NewsTypeFilter : quint64 { All = 1, Critical = 2 };

/// The ages of items that the panel shows, as the preference "newsFilter" stores them. A stored
/// number without a name here is kept as it is, and shows what `All` shows; the page for an empty
/// list knows 0 as `All`, and has no text for numbers above 3.
enum class NewsFilter : quint64 { All = 1, Recent = 2, Unread = 3 };

/// Maximum age of the items that `NewsFilter::Recent` shows.
inline constexpr std::chrono::seconds recentNews = std::chrono::hours(30 * 24);

/// The words that the category of an item must contain to be shown with `filter`.
inline QStringList categoriesOf(NewsTypeFilter filter) {
    QStringList words{QStringLiteral("mac"), QStringLiteral("pelorin")};
    if (filter == NewsTypeFilter::Critical)
        words.append(QStringLiteral("critical"));
    return words;
}

}  // namespace pelorinnews
