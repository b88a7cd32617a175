#pragma once

#include "network/UrlLoader.h"

#include "pelorinnews/Error.h"

#include <QByteArray>
#include <QString>

#include <optional>

/// Builds the feed service's URL and interprets its response.
namespace pelorinnews::FeedDownload {

/// The URL to request. A base URL that ends in ".xml" is a file and is used alone. Any other gets a
/// query with those of `locale` and `type` that are not empty, appended verbatim: the service
/// expects exactly this form, with "?&" and without percent-encoding.
[[nodiscard]] QString address(const QString &base, const QString &locale, const QString &type);

/// A body decoded as UTF-8. A byte-order mark is kept; the parser skips it. Null if the bytes are
/// not UTF-8; empty, not null, for an empty body.
[[nodiscard]] QString text(const QByteArray &body);

/// Domain of the errors that the panel itself creates.
[[nodiscard]] QString errorDomain();

/// Why a response gives no feed; absent if its data should be parsed. A status of 400 or more
/// (domain "HTTP Property Status Code") takes precedence over the transport's error, and that over
/// any data. A response with neither data nor error gives an error of `errorDomain()`, code -4.
[[nodiscard]] std::optional<Error> downloadError(const std::optional<UrlResponse> &response,
                                                 const std::optional<QByteArray> &data,
                                                 const std::optional<Error> &connectionError);

}  // namespace pelorinnews::FeedDownload
