// What a host does that uses HTTPS itself. Loaded when it is asked for, so that the plain host that
// the panel is compared with knows nothing of networks.

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSslCertificate>
#include <QSslConfiguration>

#if defined(__GNUC__)
#define PELORIN_BENCH_EXPORT __attribute__((visibility("default")))
#endif

extern "C" {

/// Trusts the authority in a file (PEM), and no other: as little as looking one up on demand loads.
PELORIN_BENCH_EXPORT bool pelorinBenchTrust(const char *file) {
    const QList<QSslCertificate> authorities =
        QSslCertificate::fromPath(QString::fromLocal8Bit(file));
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates(authorities);
    QSslConfiguration::setDefaultConfiguration(configuration);
    return !authorities.isEmpty();
}

/// Fetches `address` and forgets it.
PELORIN_BENCH_EXPORT bool pelorinBenchFetch(const char *address) {
    QNetworkAccessManager manager;
    QEventLoop loop;
    const std::unique_ptr<QNetworkReply> reply(
        manager.get(QNetworkRequest(QUrl(QString::fromLocal8Bit(address)))));
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    return reply->error() == QNetworkReply::NoError && !reply->readAll().isEmpty();
}
}
