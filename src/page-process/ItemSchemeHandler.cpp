#include "ItemSchemeHandler.h"

#include <QBuffer>
#include <QWebEngineUrlRequestJob>
#include <QWebEngineUrlScheme>

namespace pelorinnews {

namespace {

constexpr auto schemeName = "pelorin-news-item";

}  // namespace

void ItemSchemeHandler::registerScheme() {
    QWebEngineUrlScheme scheme(schemeName);
    scheme.setSyntax(QWebEngineUrlScheme::Syntax::Host);
    scheme.setFlags(QWebEngineUrlScheme::SecureScheme);
    QWebEngineUrlScheme::registerScheme(scheme);
}

QByteArray ItemSchemeHandler::scheme() {
    return schemeName;
}

QUrl ItemSchemeHandler::setPage(const QByteArray &html) {
    _page = html;
    return newAddress();
}

QUrl ItemSchemeHandler::moveToAnotherHost() {
    ++_host;
    return newAddress();
}

QUrl ItemSchemeHandler::newAddress() {
    _address = QUrl(QStringLiteral("%1://item-%2/?%1-%3")
                        .arg(QLatin1String(schemeName))
                        .arg(_host)
                        .arg(++_pages));
    return _address;
}

void ItemSchemeHandler::requestStarted(QWebEngineUrlRequestJob *job) {
    if (job->requestUrl() != _address) {
        // A page that reloads itself may request itself once more when the next item is already
        // shown. Aborting the request keeps that item on the screen; failing would replace it by an
        // error page.
        const bool isEarlierItem = job->requestUrl().query().startsWith(QLatin1String(schemeName));
        job->fail(isEarlierItem ? QWebEngineUrlRequestJob::RequestAborted
                                : QWebEngineUrlRequestJob::UrlNotFound);
        return;
    }
    auto *body = new QBuffer(job);
    body->setData(_page);
    job->reply("text/html; charset=utf-8", body);
}

}  // namespace pelorinnews
