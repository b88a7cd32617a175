#pragma once

#include "feed/OlvNewsCacheItem.h"

#include <pelorinnews/Error.h>

#include <QByteArray>
#include <QString>

#include <optional>

namespace pelorinnews {

/// One JSON object of three members: "language", a text or null; "items", each with "title",
/// "date", "category", "plainTextContent" and "htmlContent", absent ones null and dates in
/// ISO 8601, UTC; "error", null or an object with "domain", "code" and "description". One item a
/// line, so that results compare well by line.
[[nodiscard]] QByteArray jsonOutput(const QString &language, const OlvNewsItemList &items,
                                    const std::optional<Error> &error);

/// `date` in ISO 8601, UTC, years of more than four digits with their sign; null when invalid.
[[nodiscard]] QString isoDate(const QDateTime &date);

/// What went wrong, in words where the reporter has some.
[[nodiscard]] QString errorText(const Error &error);

}  // namespace pelorinnews
