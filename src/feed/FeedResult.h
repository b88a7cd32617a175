#pragma once

#include "OlvNewsCacheItem.h"

#include <QString>

namespace pelorinnews {

/// The entries of a parser's result: the feed's language, a `QString`, and its items, a
/// `std::shared_ptr<OlvNewsItemList>` in the order of the feed.
inline const QString OlvNewsFeedChannelLanguageKeyName =
    QStringLiteral("OlvNewsFeedChannelLanguageKeyName");
inline const QString OlvNewsFeedNewsCacheItemsKeyName =
    QStringLiteral("OlvNewsFeedNewsCacheItemsKeyName");

}  // namespace pelorinnews
