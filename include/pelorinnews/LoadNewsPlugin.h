#pragma once

#include "pelorinnews/NewsPlugin.h"

#include <QJsonObject>
#include <QPluginLoader>
#include <QString>

namespace pelorinnews {

/// Loads the module from the file `path`. It stays loaded until the process ends. Main thread only.
///
/// On failure, returns null and sets `*problem`, which must not be null, to one line that names the
/// file. A module with another interface than this header's is not loaded, so none of its code
/// runs; the line then names both interfaces and the module's version.
[[nodiscard]] inline NewsPlugin *loadNewsPlugin(const QString &path, QString *problem) {
    QPluginLoader loader(path);
    const QString wanted = QStringLiteral(PELORINNEWS_PLUGIN_IID);
    const QString found = loader.metaData().value(QStringLiteral("IID")).toString();
    if (!found.isEmpty() && found != wanted) {
        const QString name = wanted.left(wanted.lastIndexOf(QLatin1Char('/')) + 1);
        const QString version = loader.metaData()
                                    .value(QStringLiteral("MetaData"))
                                    .toObject()
                                    .value(QStringLiteral("version"))
                                    .toString(QStringLiteral("unknown"));
        *problem =
            found.startsWith(name)
                ? QStringLiteral(
                      "%1 is version %2 of the news module, with the interface "
                      "%3. This application was built for the interface %4.")
                      .arg(path, version, found, wanted)
                : QStringLiteral("%1 is not a news module: its interface is %2.").arg(path, found);
        return nullptr;
    }
    QObject *const module = loader.instance();
    auto *const plugin = qobject_cast<NewsPlugin *>(module);
    if (!plugin) {
        *problem = module ? QStringLiteral("%1 is not a news module.").arg(path)
                          : QStringLiteral("%1: %2").arg(path, loader.errorString());
    }
    return plugin;
}

}  // namespace pelorinnews
