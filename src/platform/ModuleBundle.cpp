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
    return QDir::cleanPath(folder() + QStringLiteral("/../../share/pelorin-news"));
}

}  // namespace pelorinnews::ModuleBundle
