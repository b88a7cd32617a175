#pragma once

#include "FeedPreview.h"
#include "Finding.h"
#include "PictureRun.h"

#include <QSize>
#include <QString>

#include <vector>

namespace pelorinnews {

/// The page that shows all pictures of `run`, with what was found in each item. HTML, without
/// scripts and without anything from elsewhere. `feedName` names the feed.
[[nodiscard]] QString contactSheet(const QString &feedName, const FeedPreview &preview,
                                   const std::vector<Finding> &findings, const PictureRun &run,
                                   QSize pageSize);

/// What stands in the page's place while the pictures are being taken.
[[nodiscard]] QString unfinishedSheet(const QString &feedName);

}  // namespace pelorinnews
