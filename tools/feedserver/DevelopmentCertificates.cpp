#include "DevelopmentCertificates.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSslCertificate>

namespace pelorinnews {

namespace {

bool runOpenssl(const QString &folder, const QStringList &arguments, QString *whyNot) {
    QProcess openssl;
    openssl.setWorkingDirectory(folder);
    openssl.setProcessChannelMode(QProcess::MergedChannels);
    openssl.start(QStringLiteral("openssl"), arguments);
    openssl.closeWriteChannel();
    const bool succeeded = openssl.waitForFinished(30000) &&
                           openssl.exitStatus() == QProcess::NormalExit && openssl.exitCode() == 0;
    if (!succeeded && whyNot)
        *whyNot = QStringLiteral("openssl: ") + openssl.errorString() + QLatin1Char('\n') +
                  QString::fromUtf8(openssl.readAll());
    return succeeded;
}

QStringList newKeyArguments(const QString &keyFile, const QString &commonName) {
    return {QStringLiteral("-newkey"),
            QStringLiteral("ec"),
            QStringLiteral("-pkeyopt"),
            QStringLiteral("ec_paramgen_curve:prime256v1"),
            QStringLiteral("-nodes"),
            QStringLiteral("-keyout"),
            keyFile,
            QStringLiteral("-subj"),
            QStringLiteral("/CN=") + commonName};
}

bool lastsAnotherDay(const QString &certificateFile) {
    const QList<QSslCertificate> found = QSslCertificate::fromPath(certificateFile, QSsl::Pem);
    return !found.isEmpty() &&
           found.first().expiryDate() > QDateTime::currentDateTimeUtc().addDays(1);
}

}  // namespace

DevelopmentCertificates::DevelopmentCertificates(QString authorityFolder)
    : _folder(std::move(authorityFolder)) {}

std::optional<DevelopmentCertificates> DevelopmentCertificates::inFolder(const QString &folder,
                                                                         QString *whyNot) {
    if (!QDir().mkpath(folder)) {
        if (whyNot)
            *whyNot = QStringLiteral("cannot make the folder ") + folder;
        return std::nullopt;
    }
    DevelopmentCertificates authority(QDir(folder).absolutePath());
    const QString keyFile = authority._folder + QStringLiteral("/ca.key");
    if (lastsAnotherDay(authority.authorityFile()) && QFile::exists(keyFile))
        return authority;
    QStringList arguments = {
        QStringLiteral("req"),     QStringLiteral("-x509"),
        QStringLiteral("-days"),   QStringLiteral("30"),
        QStringLiteral("-out"),    authority.authorityFile(),
        QStringLiteral("-addext"), QStringLiteral("basicConstraints=critical,CA:TRUE"),
        QStringLiteral("-addext"), QStringLiteral("keyUsage=critical,keyCertSign")};
    arguments += newKeyArguments(keyFile, QStringLiteral("Pelorin development authority"));
    if (!runOpenssl(authority._folder, arguments, whyNot))
        return std::nullopt;
    return authority;
}

QString DevelopmentCertificates::authorityFile() const {
    return _folder + QStringLiteral("/ca.pem");
}

std::optional<DevelopmentCertificates::Files> DevelopmentCertificates::issue(
    Kind kind, QString *whyNot) const {
    const QString name = kind == Kind::Valid       ? QStringLiteral("server")
                         : kind == Kind::WrongName ? QStringLiteral("wrong-name")
                         : kind == Kind::Expired   ? QStringLiteral("expired")
                                                   : QStringLiteral("self-signed");
    const bool isWrongName = kind == Kind::WrongName;
    const QString commonName =
        isWrongName ? QStringLiteral("elsewhere.example") : QStringLiteral("localhost");
    const QString names = isWrongName ? QStringLiteral("subjectAltName=DNS:elsewhere.example")
                                      : QStringLiteral("subjectAltName=DNS:localhost,IP:127.0.0.1");
    const Files files{_folder + QLatin1Char('/') + name + QStringLiteral(".pem"),
                      _folder + QLatin1Char('/') + name + QStringLiteral(".key")};

    QStringList request = {QStringLiteral("req"), QStringLiteral("-addext"), names,
                           QStringLiteral("-addext"),
                           QStringLiteral("basicConstraints=critical,CA:FALSE")};
    request += newKeyArguments(files.privateKey, commonName);
    if (kind == Kind::SelfSigned) {
        request += {QStringLiteral("-x509"), QStringLiteral("-days"), QStringLiteral("10"),
                    QStringLiteral("-out"), files.certificate};
        return runOpenssl(_folder, request, whyNot) ? std::optional(files) : std::nullopt;
    }
    const QString requestFile = name + QStringLiteral(".csr");
    request += {QStringLiteral("-new"), QStringLiteral("-out"), requestFile};
    const QStringList sign = {QStringLiteral("x509"),
                              QStringLiteral("-req"),
                              QStringLiteral("-in"),
                              requestFile,
                              QStringLiteral("-CA"),
                              QStringLiteral("ca.pem"),
                              QStringLiteral("-CAkey"),
                              QStringLiteral("ca.key"),
                              QStringLiteral("-copy_extensions"),
                              QStringLiteral("copy"),
                              QStringLiteral("-days"),
                              kind == Kind::Expired ? QStringLiteral("-1") : QStringLiteral("10"),
                              QStringLiteral("-out"),
                              files.certificate};
    if (!runOpenssl(_folder, request, whyNot) || !runOpenssl(_folder, sign, whyNot))
        return std::nullopt;
    return files;
}

}  // namespace pelorinnews
