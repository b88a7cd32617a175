#pragma once

#include "pelorinnews/Error.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace pelorinnews {

/// The bytes of a feed or the error (exactly one of the two is present), and a human-readable name
/// of the source.
struct FeedSource {
    QString name;
    std::optional<QByteArray> body;
    /// The HTTP status of the answer; 0 if there is none.
    int status = 0;
    std::optional<Error> error;
};

/// Whether `argument` names a file by its path.
[[nodiscard]] bool isFile(const QString &argument);

/// Reads the feed that `argument` names, and blocks until it is read:
///
/// - "-" is standard input;
/// - a text that begins with http://, https:// or file: is an address, fetched as the panel does,
///   by the same loader and with the same failures. Without a query it is a base address: the
///   panel's own query for a user of `language` is added, unless it ends in ".xml"; an address
///   with another scheme and "://" cannot be read;
/// - anything else is the path of a file.
///
/// Needs an application object.
[[nodiscard]] FeedSource readFeed(const QString &argument, const QString &language);

}  // namespace pelorinnews
