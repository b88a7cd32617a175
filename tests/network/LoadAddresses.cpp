// Loads the addresses that come on standard input, and prints for each a line of JSON as soon as
// its load has ended: address, status, size and MD5 of the body, code of the error. What is absent
// is left out. A line of the input is an idle timeout in seconds, a blank and an address. Ends when
// the input has ended. `load-addresses AUTHORITY`: the PEM file of a certificate authority to
// trust.

#include "network/NetworkUrlLoader.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSslCertificate>
#include <QSslConfiguration>

#include <iostream>
#include <mutex>
#include <string>

using namespace pelorinnews;

namespace {

void report(const std::string &address, const std::optional<UrlResponse> &response,
            const std::optional<QByteArray> &data, const std::optional<Error> &error) {
    QJsonObject line{{QStringLiteral("address"), QString::fromStdString(address)}};
    if (response && response->statusCode)
        line[QStringLiteral("status")] = *response->statusCode;
    if (data) {
        line[QStringLiteral("size")] = data->size();
        const QByteArray sum = QCryptographicHash::hash(*data, QCryptographicHash::Md5).toHex();
        line[QStringLiteral("md5")] = QString::fromLatin1(sum);
    }
    if (error)
        line[QStringLiteral("error")] = error->code;
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    std::cout << QJsonDocument(line).toJson(QJsonDocument::Compact).toStdString() << std::endl;
}

}  // namespace

int main(int argc, char *argv[]) {
    const QCoreApplication application(argc, argv);
    QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
    trusting.setCaCertificates(QSslCertificate::fromPath(QCoreApplication::arguments().value(1)));
    QSslConfiguration::setDefaultConfiguration(trusting);
    QThreadPool queue;
    constexpr qint64 maxBody = 1'000'000;
    NetworkUrlLoader loader(maxBody);
    qint64 timeout = 0;
    std::string address;
    while (std::cin >> timeout && std::getline(std::cin >> std::ws, address)) {
        loader.sendAsynchronousRequest(
            QUrl::fromEncoded(QByteArray::fromStdString(address)), std::chrono::seconds(timeout),
            &queue, [address](const auto &response, const auto &data, const auto &error) {
                report(address, response, data, error);
            });
    }
    return 0;
}
