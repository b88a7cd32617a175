#pragma once

#include <QString>
#include <QUrl>

namespace pelorinnews {

/// Resolves a link of an item's page. Items have no address of their own; their relative links
/// resolve against a bare "http://", an address with an empty host and an empty path: "a.html" and
/// "/a" give an empty host with that path, "//h/a" names host h, "#a" and "?q" directly follow the
/// slashes, and so does anything after a lone "/". A link with its own scheme stays unchanged.
[[nodiscard]] QUrl resolvedAgainstBareHttp(const QString &link);

/// The same for a link that an engine has already resolved against `page`, the URL under which the
/// item was served. A URL with another scheme stays unchanged.
[[nodiscard]] QUrl rebasedOnBareHttp(const QUrl &address, const QUrl &page);

}  // namespace pelorinnews
