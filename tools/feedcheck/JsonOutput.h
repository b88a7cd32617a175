#pragma once

#include "Finding.h"
#include "feed/OlvNewsCacheItem.h"

#include "pelorinnews/Error.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

namespace pelorinnews {

/// One JSON object of four members: "language", a text or null; "items", each with "title", "date",
/// "category", "plainTextContent" and "htmlContent", absent ones null and dates in ISO 8601, UTC;
/// "findings", each with "name", "severity" ("error" or "warning"), "line", "item" and "text", the
/// numbers counted from one, or null; "error", null or an object with "domain", "code" and
/// "description". One item or finding per line, so that results can be compared line by line.
[[nodiscard]] QByteArray jsonOutput(const QString &language, const OlvNewsItemList &items,
                                    const std::optional<Error> &error,
                                    const std::vector<Finding> &findings);

/// `date` in ISO 8601, UTC; null if invalid. Negative years and years of more than four digits have
/// six digits and a sign.
[[nodiscard]] QString isoDate(const QDateTime &date);

/// The error's localized description if it has one, else `Error::description`.
[[nodiscard]] QString errorText(const Error &error);

}  // namespace pelorinnews
