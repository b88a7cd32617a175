// A program that calls exit() in the middle of a download over HTTPS, while its application object
// still exists. Arguments: the address, the PEM file of the authority to trust, and the
// milliseconds until exit(). Without the last one, it waits for a byte on standard input.
#include "network/UrlLoader.h"

#include <QCoreApplication>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QThread>

#include <cstdio>
#include <cstdlib>

using namespace pelorinnews;

int main(int argc, char *argv[]) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 3)
        return 2;
    // Created before anything uses TLS, as in a host that does not use TLS itself: objects that are
    // created first are destroyed last.
    const std::shared_ptr<UrlLoader> loader = UrlLoader::shared();
    QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
    trusting.addCaCertificates(arguments[2]);
    QSslConfiguration::setDefaultConfiguration(trusting);
    for (int i = 0; i < 4; ++i)
        loader->sendAsynchronousRequest(QUrl(arguments[1]), std::chrono::seconds(60), nullptr, {});
    if (arguments.size() > 3)
        QThread::msleep(arguments[3].toULong());
    else
        static_cast<void>(std::getchar());
    std::exit(0);
}
