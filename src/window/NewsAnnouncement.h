#pragma once

#include <pelorinnews/NotificationCenter.h>

#include <QDateTime>
#include <QString>

namespace pelorinnews {

class OlvNewsCacheItem;

/// The desktop notification by which the panel announces news, and how the panel tells its own
/// from the host's: by a mark in the user information. The centre's list is the only memory.
///
/// Any thread.
namespace NewsAnnouncement {

/// The latest date among the panel's delivered notifications; invalid where none stands.
[[nodiscard]] QDateTime notificationDate(const NotificationCenter &center);

/// Withdraws every delivered notification of the panel, and no other.
void removeNotification(NotificationCenter &center);

/// Announces `latest` under `title`, in place of an older announcement; does nothing where one
/// stands that is as new, or where `latest` has no date.
void announce(NotificationCenter &center, const QString &title, const OlvNewsCacheItem &latest);

}  // namespace NewsAnnouncement

}  // namespace pelorinnews
