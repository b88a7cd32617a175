#pragma once

#include <QByteArray>

namespace pelorinnews::bench {

/// The UTF-8 bytes of a feed of `count` items of about 3 KB each, the same on every run: bodies as
/// HTML in CDATA sections and as plain text, some letters outside ASCII, dates one to a few hours
/// apart going back over years from `newest` (seconds since the epoch), a handful of categories of
/// which most name "mac" and "pelorin" and some "critical".
QByteArray makeFeed(int count, qint64 newest = 1'760'000'000);

}  // namespace pelorinnews::bench
