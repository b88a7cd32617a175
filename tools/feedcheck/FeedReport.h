#pragma once

#include "FeedInspector.h"
#include "FeedSource.h"

#include <QString>

namespace pelorinnews {

/// A report on a feed for the people who publish it: what the panel shows of it under each filter,
/// and what to mend, by line. `language` is the one the panel takes from the feed, null when it
/// takes nothing; `locale` the one whose user reads the dates.
[[nodiscard]] QString feedReport(const FeedSource &source, const QString &text,
                                 const QString &language, const QString &locale);

}  // namespace pelorinnews
