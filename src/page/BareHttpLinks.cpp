#include "BareHttpLinks.h"

namespace pelorinnews {

namespace {

// QUrl cannot represent a URL of only a scheme and slashes, so build it as text.
QUrl bareHttp(const QString &authority, const QString &path, const QUrl &tail) {
    QString text = QStringLiteral("http://") + authority + path;
    if (tail.hasQuery())
        text += QLatin1Char('?') + tail.query(QUrl::FullyEncoded);
    if (tail.hasFragment())
        text += QLatin1Char('#') + tail.fragment(QUrl::FullyEncoded);
    QUrl address = QUrl(text, QUrl::TolerantMode).adjusted(QUrl::NormalizePathSegments);
    // A link to "/" gives the same result as a link to the page itself: an engine gets the page at
    // the path "/", so after it has resolved them, the two links are equal.
    if (authority.isEmpty() && address.path() == QLatin1String("/"))
        return bareHttp(QString(), QString(), tail);
    return address;
}

}  // namespace

QUrl resolvedAgainstBareHttp(const QString &link) {
    QUrl reference(link.trimmed(), QUrl::TolerantMode);
    if (!reference.isRelative())
        return reference;
    QString path = reference.path(QUrl::FullyEncoded);
    if (!path.isEmpty() && !path.startsWith(QLatin1Char('/')))
        path.prepend(QLatin1Char('/'));
    return bareHttp(reference.authority(QUrl::FullyEncoded), path, reference);
}

QUrl rebasedOnBareHttp(const QUrl &address, const QUrl &page) {
    if (address.scheme() != page.scheme())
        return address;
    const bool ownHost = address.authority() == page.authority();
    const bool samePage = ownHost && address.path() == page.path();
    QUrl tail = address;
    // When the engine resolves a link to a fragment of the page, it adds the query of the page's
    // URL: remove that query.
    if (samePage && address.query() == page.query())
        tail.setQuery(QString());
    return bareHttp(ownHost ? QString() : address.authority(QUrl::FullyEncoded),
                    samePage ? QString() : address.path(QUrl::FullyEncoded), tail);
}

}  // namespace pelorinnews
