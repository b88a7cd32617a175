#pragma once

#include "FeedInspector.h"
#include "FeedSource.h"

#include <QString>

namespace pelorinnews {

/// A report on a feed for the people who publish it: what the panel shows of it under each filter,
/// and what to mend, by line. `feed` is what the panel's parser gave for a user of `locale`.
[[nodiscard]] QString feedReport(const FeedSource &source, const QString &text,
                                 const std::optional<QVariantMap> &feed, const QString &locale);

}  // namespace pelorinnews
