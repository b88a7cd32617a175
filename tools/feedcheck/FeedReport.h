#pragma once

#include "FeedPreview.h"
#include "FeedSource.h"
#include "Finding.h"
#include "TerminalColors.h"

#include <QString>
#include <QVariantMap>

#include <vector>

namespace pelorinnews {

/// A report on a feed for its publishers: what the panel shows of it under each filter, and the
/// findings, by line. `feed` is the result of the panel's parser for a user of `locale`, and
/// `preview` what the panel shows of it.
[[nodiscard]] QString feedReport(const FeedSource &source, const std::optional<QVariantMap> &feed,
                                 const FeedPreview &preview, const QString &locale,
                                 const std::vector<Finding> &findings,
                                 const TerminalColors &colors);

}  // namespace pelorinnews
