#include "DevelopmentCertificates.h"
#include "FeedServer.h"
#include "platform/FileReplacement.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>

#include <csignal>
#include <cstdio>

using namespace pelorinnews;

namespace {

int fail(const QString &message) {
    std::fprintf(stderr, "pelorin-feedserver: %s\n", qPrintable(message));
    return 1;
}

int usage(const QString &message) {
    fail(message);
    std::fprintf(stderr, "Try --help.\n");
    return 2;
}

bool writeWhole(const QString &path, const QString &text) {
    FileReplacement file(path);
    file.write(text.toUtf8());
    return file.commit().has_value();
}

}  // namespace

int main(int argc, char *argv[]) {
    // Block the signals before any thread starts, so that only `sigwait` below receives them.
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGTERM);
    sigaddset(&ending, SIGINT);
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);

    const QCoreApplication application(argc, argv);
    QCommandLineParser line;
    line.setApplicationDescription(
        QStringLiteral("A feed service on the loopback interface, for development and tests.\n\n"
                       "It prints the service's address on standard output once it answers, and "
                       "ends on SIGTERM or SIGINT.\n\n"
                       "A request for /+OPTIONS/PATH is answered as OPTIONS say, for PATH; "
                       "--reply does so for all others. OPTIONS, separated by commas:\n") +
        FeedReply::optionsHelp());
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this."));
    const QCommandLineOption version(QStringLiteral("version"),
                                     QStringLiteral("Shows the version."));
    const QCommandLineOption feeds(
        QStringLiteral("feeds"),
        QStringLiteral("The folder of feeds, named TYPE.LOCALE.xml; {{now-3d}} in them becomes a "
                       "date. Default: ../share/pelorin/demo-feed beside this program."),
        QStringLiteral("DIR"));
    const QCommandLineOption port(QStringLiteral("port"),
                                  QStringLiteral("The port; 0, the default, takes a free one."),
                                  QStringLiteral("N"), QStringLiteral("0"));
    const QCommandLineOption tls(
        QStringLiteral("tls"),
        QStringLiteral("HTTPS with a certificate from an authority in DIR, made there when "
                       "absent; clients must trust DIR/ca.pem."),
        QStringLiteral("DIR"));
    const QCommandLineOption addressFile(
        QStringLiteral("address-file"),
        QStringLiteral("Writes the address to FILE too, in one step, once it answers."),
        QStringLiteral("FILE"));
    const QCommandLineOption replyOption(QStringLiteral("reply"),
                                         QStringLiteral("How every request is answered."),
                                         QStringLiteral("OPTIONS"));
    line.addOptions({help, version, feeds, port, tls, addressFile, replyOption});
    if (!line.parse(QCoreApplication::arguments()))
        return usage(line.errorText());
    if (line.isSet(help)) {
        std::fputs(qUtf8Printable(line.helpText()), stdout);
        return 0;
    }
    if (line.isSet(version)) {
        std::fputs("pelorin-feedserver " PELORIN_VERSION "\n", stdout);
        return 0;
    }
    if (!line.positionalArguments().isEmpty())
        return usage(QStringLiteral("unexpected ") + line.positionalArguments().first());

    QString whyNot;
    FeedServerOptions options;
    bool isNumber = false;
    options.port = line.value(port).toUShort(&isNumber);
    if (!isNumber)
        return usage(QStringLiteral("no port: ") + line.value(port));
    options.feedFolder = line.isSet(feeds) ? line.value(feeds)
                                           : QCoreApplication::applicationDirPath() +
                                                 QStringLiteral("/../share/pelorin/demo-feed");
    if (!QDir(options.feedFolder).exists())
        return fail(QStringLiteral("no folder ") + options.feedFolder);
    const std::optional<FeedReply> reply = FeedReply::parse(line.value(replyOption), &whyNot);
    if (!reply)
        return usage(QStringLiteral("unknown reply option: ") + whyNot);
    if (line.isSet(tls)) {
        const auto authority = DevelopmentCertificates::inFolder(line.value(tls), &whyNot);
        const auto files = authority
                               ? authority->issue(DevelopmentCertificates::Kind::Valid, &whyNot)
                               : std::nullopt;
        if (!files)
            return fail(whyNot);
        options.certificateFile = files->certificate;
        options.privateKeyFile = files->privateKey;
    }

    FeedServer server(options);
    server.setReply(*reply);
    if (!server.start(&whyNot))
        return fail(whyNot);
    if (line.isSet(addressFile) &&
        !writeWhole(line.value(addressFile), server.feedAddress() + QLatin1Char('\n')))
        return fail(QStringLiteral("cannot write ") + line.value(addressFile));
    std::printf("%s\n", qPrintable(server.feedAddress()));
    std::fflush(stdout);

    int signalNumber = 0;
    sigwait(&ending, &signalNumber);
    server.stop();
    return 0;
}
