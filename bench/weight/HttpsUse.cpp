// HTTPS requests of the host itself, in a library that the host loads on demand. Unless told to
// make requests, the host does not load Qt Network, whose memory then counts as the panel's.

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSslCertificate>
#include <QSslConfiguration>

#if defined(__GNUC__)
#define PELORIN_BENCH_EXPORT __attribute__((visibility("default")))
#endif

extern "C" {

/// Makes Qt Network trust only the certificate authorities in `file` (PEM). False if the file
/// contains none. Qt then loads few certificates, as it does by default by looking them up on
/// demand.
PELORIN_BENCH_EXPORT bool pelorinBenchTrust(const char *file) {
    const QList<QSslCertificate> authorities =
        QSslCertificate::fromPath(QString::fromLocal8Bit(file));
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates(authorities);
    QSslConfiguration::setDefaultConfiguration(configuration);
    return !authorities.isEmpty();
}

/// Fetches `address` and discards the reply. False on failure.
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
