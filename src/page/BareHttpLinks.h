#pragma once

#include <QString>
#include <QUrl>

namespace pelorinnews {

/// Resolves a link of an item's page. Items have no address of their own; their relative links
/// resolve against a bare "http://", an address with an empty host and an empty path:
/// "a.html" and "/a" give an empty host with that path, "//h/a" names host h, "#a" and "?q" stand
/// right behind the slashes, and so does what follows "/" alone. A link with a scheme of its own
/// stays as it is.
[[nodiscard]] QUrl resolvedAgainstBareHttp(const QString &link);

/// The same for a link that an engine has resolved already against `page`, the address under which
/// the item was served; an address outside of it stays as it is.
[[nodiscard]] QUrl rebasedOnBareHttp(const QUrl &address, const QUrl &page);

}  // namespace pelorinnews
