#pragma once

#include <QByteArray>
#include <QString>

/// What passes between the panel and the feed service.
namespace pelorinnews::FeedExchange {

/// The address to ask. A base address that ends in ".xml" is a file and stands alone; any other
/// gets a query of those of the two values that are present and not empty, each as it stands: the
/// service reads its query as it is put together here, "?&" and no percent-encoding.
[[nodiscard]] QString address(const QString &base, const QString &locale, const QString &type);

/// The text of a body, kept whole: a byte-order mark is the reader's to pass over. Null where the
/// bytes are not UTF-8; not null, if empty, for an empty body.
[[nodiscard]] QString text(const QByteArray &body);

}  // namespace pelorinnews::FeedExchange
