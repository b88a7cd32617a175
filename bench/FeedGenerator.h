#pragma once

#include <QByteArray>

namespace pelorinnews::bench {

/// A feed of `count` items in UTF-8, the same on every run. An item has about 3 KB, with its
/// content as HTML in a CDATA section and as plain text, including some letters outside ASCII. The
/// first item's date is `newest` (seconds since the epoch); each further item is one to four hours
/// older. Each item's categories are one of five sets: four contain both "mac" and "pelorin", one
/// contains "critical".
QByteArray makeFeed(int count, qint64 newest = 1'760'000'000);

}  // namespace pelorinnews::bench
