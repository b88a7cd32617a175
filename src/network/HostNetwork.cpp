#include "HostNetwork.h"

#include <QNetworkProxyFactory>
#include <QSslCertificate>
#include <QSslConfiguration>

namespace pelorinnews::HostNetwork {

QByteArray trustedAuthorities() {
    QByteArray pem;
    for (const QSslCertificate &authority :
         QSslConfiguration::defaultConfiguration().caCertificates())
        pem += authority.toPem();
    return pem;
}

QByteArray proxyFor(const QUrl &url) {
    for (const QNetworkProxy &proxy :
         QNetworkProxyFactory::proxyForQuery(QNetworkProxyQuery(url))) {
        QUrl address;
        switch (proxy.type()) {
            case QNetworkProxy::NoProxy:
                return {};
            case QNetworkProxy::HttpProxy:
            case QNetworkProxy::HttpCachingProxy:
                address.setScheme(QStringLiteral("http"));
                break;
            case QNetworkProxy::Socks5Proxy:
                // The proxy resolves the host name: our resolver may not know it.
                address.setScheme(QStringLiteral("socks5h"));
                break;
            default:
                continue;
        }
        address.setHost(proxy.hostName());
        address.setPort(proxy.port());
        address.setUserName(proxy.user(), QUrl::DecodedMode);
        address.setPassword(proxy.password(), QUrl::DecodedMode);
        if (address.isValid() && !address.host().isEmpty())
            return address.toEncoded();
    }
    return {};
}

}  // namespace pelorinnews::HostNetwork
