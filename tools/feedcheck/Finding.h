#pragma once

#include "FindingKind.h"

#include <QString>

namespace pelorinnews {

/// A problem that an editor should fix.
struct Finding {
    FindingKind kind;
    /// Counted from one; 0 if the problem is in no line, as when the feed cannot be fetched.
    qint64 line = 0;
    /// What is wrong, what the panel makes of it, and what to write instead. One line.
    QString text;
    /// The number of the item, counted from one; 0 if the problem is not that of one item.
    std::size_t item = 0;
};

}  // namespace pelorinnews
