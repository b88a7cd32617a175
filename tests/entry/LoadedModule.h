#pragma once

#include "pelorinnews/NewsPlugin.h"

#include <QApplication>
#include <QPluginLoader>
#include <QSettings>
#include <QWidget>

namespace pelorinnews::test {

/// The module from the application folder, loaded at the first call. Ends the process if it cannot
/// be loaded.
inline NewsPlugin *module() {
    QPluginLoader loader(QStringLiteral(PELORIN_APP_DIR "/lib/pelorin/PelorinNews.so"));
    auto *plugin = qobject_cast<NewsPlugin *>(loader.instance());
    if (!plugin)
        qFatal("%s", qPrintable(loader.errorString()));
    return plugin;
}

/// The identity under which the tests load the module.
inline HostIdentity hostIdentity() {
    return {QStringLiteral("com.Olvane.Pelorin"), QStringLiteral("Olvane"),
            QStringLiteral("Pelorin")};
}

/// Makes panels of that host read the feed at `address`, and not show themselves on start.
inline void preferFeed(const QString &address) {
    QSettings preferences(hostIdentity().organizationName, hostIdentity().applicationName);
    preferences.setValue(QStringLiteral("newsFeedBaseURL"), address);
    preferences.setValue(QStringLiteral("newsShowOnStart"), false);
    preferences.sync();
}

/// The news window, even if it is hidden; null if there is none.
inline QWidget *newsWindow() {
    const auto windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        if (QLatin1String(window->metaObject()->className()).contains(QLatin1String("NewsWindow")))
            return window;
    }
    return nullptr;
}

}  // namespace pelorinnews::test
