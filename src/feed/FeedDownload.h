#pragma once

#include "network/UrlLoader.h"

#include "pelorinnews/Error.h"

#include <QByteArray>
#include <QString>

#include <optional>

/// Builds the feed service's URL and interprets its response.
namespace pelorinnews::FeedDownload {

/// The URL to request: `base` alone if it ends in ".xml" (a file). Otherwise `base` and "?",
/// followed by "&locale=" and "&type=" with their values; an empty value is left out with its name.
/// Nothing is percent-encoded: the service expects exactly this form, "?&" included.
[[nodiscard]] QString address(const QString &base, const QString &locale, const QString &type);

/// A body decoded as UTF-8. A byte-order mark is kept; the parser skips it. Null if the bytes are
/// not UTF-8; empty, not null, for an empty body.
[[nodiscard]] QString text(const QByteArray &body);

/// Domain of the errors that the panel itself creates.
[[nodiscard]] QString errorDomain();

/// The error of a failed download; absent if the download succeeded and `data` should be parsed. An
/// HTTP status of 400 or more (domain "HTTP Property Status Code", the status as code) takes
/// precedence over `connectionError`, which takes precedence over `data`. Without data and without
/// an error, the result is an error of `errorDomain()` with code -4.
[[nodiscard]] std::optional<Error> downloadError(const std::optional<UrlResponse> &response,
                                                 const std::optional<QByteArray> &data,
                                                 const std::optional<Error> &connectionError);

}  // namespace pelorinnews::FeedDownload
