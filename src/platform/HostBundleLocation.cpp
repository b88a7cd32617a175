#include "HostBundleLocation.h"

#include <QFileInfo>

namespace pelorinnews {

namespace {

bool isAppImageOf(const HostProcess &process) {
    const QFileInfo file(process.appImage);
    if (!file.isAbsolute() || !file.isFile())
        return false;
    // Child processes inherit APPIMAGE and APPDIR. If this executable is not below APPDIR, the
    // variables describe the program that started it.
    return process.appDir.isEmpty() ||
           process.executable.startsWith(QFileInfo(process.appDir).canonicalFilePath() +
                                         QLatin1Char('/'));
}

/// "/opt/a/bin" gives "/opt/a" and "bin".
std::pair<QString, QString> split(const QString &path) {
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    return {slash <= 0 ? QStringLiteral("/") : path.left(slash), path.mid(slash + 1)};
}

QString applicationFolder(const QString &executable) {
    QString folder = split(executable).first;
    const auto [aboveBinaries, binaries] = split(folder);
    if (binaries == QLatin1String("bin") || binaries.startsWith(QLatin1String("lib")))
        folder = aboveBinaries;
    const auto [aboveUsr, usr] = split(folder);
    return usr == QLatin1String("usr") ? aboveUsr : folder;
}

}  // namespace

HostProcess HostProcess::current() {
    HostProcess process;
    process.executable = QFile::symLinkTarget(QStringLiteral("/proc/self/exe"));
    // The kernel appends this suffix to the path if the file was replaced while the program runs.
    const QLatin1String replaced(" (deleted)");
    if (process.executable.endsWith(replaced) && !QFileInfo::exists(process.executable))
        process.executable.chop(replaced.size());
    process.appImage = qEnvironmentVariable("APPIMAGE");
    process.appDir = qEnvironmentVariable("APPDIR");
    return process;
}

QString hostBundleLocation(const HostProcess &process) {
    if (!process.executable.startsWith(QLatin1Char('/')))
        return {};
    if (isAppImageOf(process))
        return QFileInfo(process.appImage).canonicalFilePath();
    if (process.executable.startsWith(QLatin1String("/usr/")) ||
        process.executable.startsWith(QLatin1String("/app/")))
        return process.executable;
    const QString folder = applicationFolder(process.executable);
    return folder == QLatin1String("/") ? process.executable : folder;
}

}  // namespace pelorinnews
