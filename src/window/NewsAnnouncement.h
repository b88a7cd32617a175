#pragma once

#include "pelorinnews/NotificationCenter.h"

#include <QDateTime>
#include <QString>

namespace pelorinnews {

class OlvNewsCacheItem;

/// The desktop notification that announces news. A mark in `userInfo` tells the panel's own
/// notifications from the host's. These functions keep no state: the centre's list is the only
/// record.
///
/// Callable from any thread.
namespace NewsAnnouncement {

/// The latest date among the panel's delivered notifications; invalid if there is none.
[[nodiscard]] QDateTime notificationDate(const NotificationCenter &center);

/// Withdraws every delivered notification of the panel, and no other.
void removeNotification(NotificationCenter &center);

/// Announces `latest` under `title` and withdraws an older announcement. No-op if an announcement
/// at least as new is present, or if `latest` has no date.
void announce(NotificationCenter &center, const QString &title, const OlvNewsCacheItem &latest);

}  // namespace NewsAnnouncement

}  // namespace pelorinnews
