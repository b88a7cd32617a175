#include "ApplicationFolders.h"

#include <QDir>
#include <QFile>

namespace pelorinnews {

std::vector<QByteArray> applicationFolders() {
    std::vector<QByteArray> folders = {"/opt", "/usr/local", "/usr/bin"};
    const QByteArray home = QFile::encodeName(QDir::homePath());
    for (const char *name : {"", "/Applications", "/.local", "/.local/bin", "/.local/opt"})
        folders.push_back(home + name);
    return folders;
}

}  // namespace pelorinnews
