#pragma once

#include "NotificationRegistry.h"

#include <QByteArray>

#include <optional>

/// What the bytes of the notification registry mean: JSON, as `docs/notifications.md` describes it.
///
/// Of a notification's user information only a date under "originationDate" and a text under
/// "originatorName" are kept. The two keys are known here, so that no value of any other type can
/// come out of a file, however it was made.
namespace pelorinnews::RegistryFormat {

/// No registry is larger, so that reading one cannot be felt on the main thread: it takes less than
/// a millisecond, and 20 where somebody made the file to be slow. There is room for 200
/// notifications of 650 bytes; an ordinary one takes 400.
constexpr qint64 largestFile = qint64(128) * 1024;

/// Texts are kept up to this many UTF-16 units, the same that servers are sent.
constexpr qsizetype longestText = 4096;

/// The part of `entry` that a file keeps.
[[nodiscard]] RegistryEntry kept(RegistryEntry entry);

/// The bytes of `contents`. Removes the oldest entries for which `largestFile` has no room.
[[nodiscard]] QByteArray write(RegistryContents &contents);

/// Absent where these are not the bytes of a registry. Entries that make no sense are left out, so
/// are all but the last of one identity and all but the newest
/// `NotificationRegistry::maximumEntries`.
[[nodiscard]] std::optional<RegistryContents> read(const QByteArray &bytes);

}  // namespace pelorinnews::RegistryFormat
