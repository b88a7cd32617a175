#pragma once

#include <QString>
#include <QUrl>

namespace pelorinnews {

/// Resolves a link of an item's page. Items have no URL of their own; their relative links resolve
/// against a bare "http://", a URL with an empty host and an empty path: "a.html" gives
/// "http:///a.html", "/a" gives "http:///a", "//h/a" gives "http://h/a", "#a" and "/#a" give
/// "http://#a", "?q" and "/?q" give "http://?q". A link with its own scheme stays unchanged.
[[nodiscard]] QUrl resolvedAgainstBareHttp(const QString &link);

/// Turns a link that an engine has already resolved into what `resolvedAgainstBareHttp` gives for
/// it. `address` is the resolved link, and `page` the URL under which the engine got the page. A
/// URL whose scheme is not that of `page` stays unchanged.
[[nodiscard]] QUrl rebasedOnBareHttp(const QUrl &address, const QUrl &page);

}  // namespace pelorinnews
