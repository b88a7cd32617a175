#pragma once

#include "feed/OlvNewsCacheItem.h"

#include "pelorinnews/Error.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace pelorinnews {

/// One JSON object of three members: "language", a text or null; "items", each with "title",
/// "date", "category", "plainTextContent" and "htmlContent", absent ones null and dates in ISO
/// 8601, UTC; "error", null or an object with "domain", "code" and "description". One item per
/// line, so that results can be compared line by line.
[[nodiscard]] QByteArray jsonOutput(const QString &language, const OlvNewsItemList &items,
                                    const std::optional<Error> &error);

/// `date` in ISO 8601, UTC; null if invalid. Negative years and years of more than four digits have
/// six digits and a sign.
[[nodiscard]] QString isoDate(const QDateTime &date);

/// The error's localized description if it has one, else `Error::description`.
[[nodiscard]] QString errorText(const Error &error);

}  // namespace pelorinnews
