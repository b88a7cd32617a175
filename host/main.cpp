#include "HostLogger.h"
#include "MainWindow.h"
#include "NewsModule.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFileInfo>
#include <QIcon>
#include <QPalette>
#include <QSettings>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QTimer>
#include <QUrl>

#include <cstdio>

using namespace pelorinnews;

namespace {

void complain(const QString &text) {
    std::fprintf(stderr, "pelorin: %s\n", qUtf8Printable(text));
}

/// Makes this process also trust the certificate authorities in the PEM file `file`. False if the
/// file contains none.
bool trust(const QString &file) {
    const QList<QSslCertificate> authorities = QSslCertificate::fromPath(file);
    if (authorities.isEmpty())
        return false;
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates(QSslConfiguration::systemCaCertificates() + authorities);
    QSslConfiguration::setDefaultConfiguration(configuration);
    return true;
}

void useDarkColours() {
    QPalette palette(QColor(0x35, 0x35, 0x35));
    palette.setColor(QPalette::Base, QColor(0x24, 0x24, 0x24));
    palette.setColor(QPalette::Highlight, QColor(0x35, 0x84, 0xe4));
    palette.setColor(QPalette::Link, QColor(0x78, 0xae, 0xed));
    QApplication::setPalette(palette);
}

/// The feed's address as the preferences store it: `addressOrFile` itself, or the `file:` URL of an
/// existing file with that name.
QString feedAddress(const QString &addressOrFile) {
    const QFileInfo file(addressOrFile);
    if (!file.exists())
        return addressOrFile;
    return QUrl::fromLocalFile(file.absoluteFilePath()).toString(QUrl::FullyEncoded);
}

}  // namespace

int main(int argc, char *argv[]) {
    const QApplication application(argc, argv);
    // The names of organization and application determine the preferences file,
    // Olvane/Pelorin.conf. The panel uses this file as well.
    QApplication::setOrganizationName(QStringLiteral("Olvane"));
    QApplication::setApplicationName(QStringLiteral("Pelorin"));
    QApplication::setApplicationVersion(QStringLiteral(PELORIN_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("com.Olvane.Pelorin"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/pelorin.svg")));

    QCommandLineParser options;
    options.setApplicationDescription(QStringLiteral("A small host of the Pelorin News panel."));
    options.addHelpOption();
    options.addVersionOption();
    const QCommandLineOption show(QStringLiteral("show"),
                                  QStringLiteral("Open the news window at once."));
    const QCommandLineOption module(QStringLiteral("module"),
                                    QStringLiteral("Load the news module at <path>."),
                                    QStringLiteral("path"), host::newsModulePath());
    const QCommandLineOption feed(
        QStringLiteral("feed"),
        QStringLiteral("Read the news from <address>, which may be a file, from now on."),
        QStringLiteral("address"));
    const QCommandLineOption authority(
        QStringLiteral("trust"),
        QStringLiteral("Trust the certificate authority in <file> (PEM), in addition to the "
                       "system's."),
        QStringLiteral("file"));
    const QCommandLineOption dark(
        QStringLiteral("dark"),
        QStringLiteral("Use dark colours, to try the panel in a host that has them."));
    options.addOptions({show, module, feed, authority, dark});
    options.process(application);

    if (options.isSet(authority) && !trust(options.value(authority))) {
        complain(
            QStringLiteral("no certificate can be read from %1").arg(options.value(authority)));
        return 2;
    }
    if (options.isSet(dark))
        useDarkColours();
    if (options.isSet(feed))
        QSettings().setValue(QStringLiteral("newsFeedBaseURL"), feedAddress(options.value(feed)));

    const auto logger = std::make_shared<host::HostLogger>();
    host::MainWindow window(*logger);

    QString problem;
    const std::shared_ptr<NewsController> news = host::createNews(options.value(module), &problem);
    if (news) {
        news->setLogger(logger);
        // The panel only keeps the delegate alive and never calls it: any object will do.
        news->setDelegate(std::make_shared<QString>(QApplication::applicationName()));
        window.setNews(news);
    } else {
        complain(problem);
        window.showProblem(problem);
    }

    window.show();
    if (news && options.isSet(show))
        QTimer::singleShot(0, &window, [&news] { news->show(); });
    const int status = QApplication::exec();

    // Stores the date of the last viewing and stops the refresh timer, which otherwise keeps the
    // panel alive.
    if (news)
        news->exit();
    return status;
}
