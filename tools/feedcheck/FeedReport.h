#pragma once

#include "FeedInspector.h"
#include "FeedSource.h"

#include <QString>

namespace pelorinnews {

/// A report on a feed for its publishers: what the panel shows of it under each filter, and what to
/// fix, by line. `feed` is the result of the panel's parser for a user of `locale`.
[[nodiscard]] QString feedReport(const FeedSource &source, const QString &text,
                                 const std::optional<QVariantMap> &feed, const QString &locale);

}  // namespace pelorinnews
