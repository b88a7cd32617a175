#include "HostBundleLocation.h"

#include <QFileInfo>
#include <QStandardPaths>

namespace pelorinnews {

namespace {

bool isAppImageOf(const HostProcess &process) {
    const QFileInfo file(process.appImage);
    if (!file.isAbsolute() || !file.isFile())
        return false;
    // Inherited from a program that started this one, unless this one lies in the AppImage.
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
    const bool isSystems = folder == QLatin1String("/usr");
    return usr == QLatin1String("usr") && !isSystems ? aboveUsr : folder;
}

QString installedDesktopFile(const HostProcess &process) {
    for (const QString &name : process.desktopFileNames) {
        for (const QString &folder : process.desktopFileFolders) {
            const QFileInfo file(folder + QLatin1Char('/') + name + QLatin1String(".desktop"));
            if (file.isFile())
                return file.absoluteFilePath();
        }
    }
    return {};
}

}  // namespace

HostProcess HostProcess::current(const QStringList &desktopFileNames) {
    HostProcess process;
    process.executable = QFile::symLinkTarget(QStringLiteral("/proc/self/exe"));
    // So the kernel shows a program that was replaced while it runs.
    const QLatin1String replaced(" (deleted)");
    if (process.executable.endsWith(replaced) && !QFileInfo::exists(process.executable))
        process.executable.chop(replaced.size());
    process.appImage = qEnvironmentVariable("APPIMAGE");
    process.appDir = qEnvironmentVariable("APPDIR");
    process.desktopFileNames = desktopFileNames;
    process.desktopFileNames << split(process.executable).second;
    process.desktopFileFolders =
        QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation);
    return process;
}

QString hostBundleLocation(const HostProcess &process) {
    if (!process.executable.startsWith(QLatin1Char('/')))
        return {};
    if (isAppImageOf(process))
        return QFileInfo(process.appImage).canonicalFilePath();
    QString folder = applicationFolder(process.executable);
    const QStringList systemFolders = {QStringLiteral("/"), QStringLiteral("/usr"),
                                       QStringLiteral("/usr/local")};
    if (!systemFolders.contains(folder))
        return folder;
    const QString desktopFile = installedDesktopFile(process);
    return desktopFile.isEmpty() ? process.executable : desktopFile;
}

}  // namespace pelorinnews
