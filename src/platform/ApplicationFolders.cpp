#include "ApplicationFolders.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

namespace pelorinnews {

std::vector<QByteArray> applicationFolders() {
    std::vector<QByteArray> folders = {"/opt", "/usr/local"};
    const QByteArray home = QFile::encodeName(QDir::homePath());
    for (const char *name : {"", "/Applications", "/.local", "/.local/bin", "/.local/opt"})
        folders.push_back(home + name);
    // The desktop files of the user, of the system and of what is installed beside it.
    const QStringList desktopFolders =
        QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation);
    for (const QString &folder : desktopFolders)
        folders.push_back(QFile::encodeName(folder));
    return folders;
}

}  // namespace pelorinnews
