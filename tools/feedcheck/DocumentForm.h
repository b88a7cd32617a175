#pragma once

#include "Finding.h"

#include <QByteArray>

#include <optional>

namespace pelorinnews {

class FeedInspector;

/// What a document is, if it is no feed that the panel could read: an empty file, UTF-16, other
/// bytes than UTF-8, a web page, JSON, or the head of an HTTP reply. Absent for anything else. The
/// other findings on such a document would only mislead.
[[nodiscard]] std::optional<Finding> otherThanXml(const QByteArray &body);

/// The finding on a feed of another format (Atom, RSS 1.0). Absent for anything else.
[[nodiscard]] std::optional<Finding> otherFeedFormat(const FeedInspector &inspector);

}  // namespace pelorinnews
