#include "BareHttpLinks.h"

namespace pelorinnews {

namespace {

// QUrl knows no address that is nothing but a scheme and slashes, so the text is put together.
QUrl bareHttp(const QString &authority, const QString &path, const QUrl &tail) {
    QString text = QStringLiteral("http://") + authority + path;
    if (tail.hasQuery())
        text += QLatin1Char('?') + tail.query(QUrl::FullyEncoded);
    if (tail.hasFragment())
        text += QLatin1Char('#') + tail.fragment(QUrl::FullyEncoded);
    QUrl address = QUrl(text, QUrl::TolerantMode).adjusted(QUrl::NormalizePathSegments);
    // The root is where the page itself lies: an engine tells no link to it from one to the page.
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
    // A link to a place within the page keeps the page's own query, which is no part of the link.
    if (samePage && address.query() == page.query())
        tail.setQuery(QString());
    return bareHttp(ownHost ? QString() : address.authority(QUrl::FullyEncoded),
                    samePage ? QString() : address.path(QUrl::FullyEncoded), tail);
}

}  // namespace pelorinnews
