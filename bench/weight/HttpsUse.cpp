// A host's own use of HTTPS. A library that the host loads on demand, so that the host without the
// panel, the baseline, does not load Qt Network.

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSslCertificate>
#include <QSslConfiguration>

#if defined(__GNUC__)
#define PELORIN_BENCH_EXPORT __attribute__((visibility("default")))
#endif

extern "C" {

/// Trusts only the authorities in `file` (PEM). That loads as few certificates as Qt's own lookup
/// on demand. False if there are none.
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
