#pragma once

#include "RegistryContents.h"

#include <QByteArray>

#include <optional>

/// The byte format of the notification registry: JSON, as described in `docs/notifications.md`.
///
/// Of a notification's user information, keeps only a date under "originationDate" and a text under
/// "originatorName". Values of other types are dropped, so that not even a crafted file can produce
/// them.
namespace pelorinnews::RegistryFormat {

/// Maximum size in bytes. It bounds the time that reading a registry takes on the main thread: less
/// than 1 ms, or 20 ms if the file was crafted to be slow. There is room for 200 notifications of
/// 650 bytes; an ordinary one takes 400.
constexpr qint64 maxFileBytes = qint64(128) * 1024;

/// Texts are cut to this many UTF-16 units, the same limit as for texts sent to servers.
constexpr qsizetype maxTextLength = 4096;

/// `entry`, reduced to what the file stores.
[[nodiscard]] RegistryEntry kept(RegistryEntry entry);

/// Serializes `contents`. First removes the oldest entries from it until the rest fits into
/// `maxFileBytes`.
[[nodiscard]] QByteArray write(RegistryContents &contents);

/// Parses a registry; absent if `bytes` are not one. Skips invalid entries. Keeps only the last of
/// several entries with the same identity, and only the newest
/// `RegistryContents::maxEntries`.
[[nodiscard]] std::optional<RegistryContents> read(const QByteArray &bytes);

}  // namespace pelorinnews::RegistryFormat
