#include "ModuleBundle.h"

#include <QDir>
#include <QFileInfo>

#include <dlfcn.h>

namespace pelorinnews::ModuleBundle {

QString folder() {
    static const char anchor = 0;
    Dl_info info{};
    if (dladdr(&anchor, &info) == 0 || !info.dli_fname)
        return {};
    return QFileInfo(QFile::decodeName(info.dli_fname)).canonicalPath();
}

QString resourceFolder() {
    const QDir folder(ModuleBundle::folder());
    const QString usual = folder.filePath(QStringLiteral("../../share/pelorin-news"));
    const QString multiarch = folder.filePath(QStringLiteral("../../../share/pelorin-news"));
    const bool isMultiarch = !QFileInfo::exists(usual) && QFileInfo::exists(multiarch);
    return QDir::cleanPath(isMultiarch ? multiarch : usual);
}

}  // namespace pelorinnews::ModuleBundle
