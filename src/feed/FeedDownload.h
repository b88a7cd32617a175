#pragma once

#include "network/UrlLoader.h"

#include <pelorinnews/Error.h>

#include <QByteArray>
#include <QString>

#include <optional>

/// What passes between the panel and the feed service.
namespace pelorinnews::FeedDownload {

/// The address to ask. A base address that ends in ".xml" is a file and stands alone; any other
/// gets a query of those of the two values that are present and not empty, each as it stands: the
/// service reads its query as it is put together here, "?&" and no percent-encoding.
[[nodiscard]] QString address(const QString &base, const QString &locale, const QString &type);

/// The text of a body, kept whole: a byte-order mark is the reader's to pass over. Null where the
/// bytes are not UTF-8; not null, if empty, for an empty body.
[[nodiscard]] QString text(const QByteArray &body);

/// The domain of the errors that the panel makes of its own accord.
[[nodiscard]] QString errorDomain();

/// Why an answer gives no feed to read; absent where its data are to be read. A status of 400 or
/// more (domain "HTTP Property Status Code") goes before the transport's error, and that before
/// any data; an answer with neither data nor error is an error of `errorDomain()`, code -4.
[[nodiscard]] std::optional<Error> downloadError(const std::optional<UrlResponse> &response,
                                                 const std::optional<QByteArray> &data,
                                                 const std::optional<Error> &connectionError);

}  // namespace pelorinnews::FeedDownload
