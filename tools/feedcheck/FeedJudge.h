#pragma once

#include "FeedPreview.h"
#include "FeedSource.h"
#include "Finding.h"

#include <QString>
#include <QVariantMap>

#include <optional>
#include <vector>

namespace pelorinnews {

/// As whom a feed is read.
struct FeedReader {
    /// The reader's locale for dates, as `DateFormatter` names it.
    QString locale;
    /// The reader's language, such as "de-DE", if only this reader counts. Null if the feed is
    /// judged for all whom its language reaches.
    QString language;
};

/// All findings on a feed, by line. `text` is the text of the source's body, null if there is none;
/// `feed` is the result of the panel's parser for `reader`, and `preview` what the panel shows of
/// it.
[[nodiscard]] std::vector<Finding> judgeFeed(const FeedSource &source, const QString &text,
                                             const std::optional<QVariantMap> &feed,
                                             const FeedPreview &preview, const FeedReader &reader);

}  // namespace pelorinnews
