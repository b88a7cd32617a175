#include "NewsModule.h"

#include "pelorinnews/NewsPlugin.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QPluginLoader>

namespace pelorinnews::host {

namespace {

QString sentence(const QString &beginning, const QString &reason) {
    return beginning + QLatin1Char(' ') + reason;
}

}  // namespace

QString newsModulePath() {
    const QDir folder(QCoreApplication::applicationDirPath());
    return QDir::cleanPath(folder.filePath(QStringLiteral("../lib/pelorin/PelorinNews.so")));
}

std::shared_ptr<NewsController> createNews(const QString &path, QString *problem) {
    if (!QFileInfo(path).isFile()) {
        *problem = sentence(QStringLiteral("There is no news module at"), path);
        return nullptr;
    }
    // The loader may be destroyed: the module stays loaded until the process ends.
    QPluginLoader loader(path);
    QObject *const instance = loader.instance();
    if (!instance) {
        *problem =
            sentence(QStringLiteral("The news module could not be loaded:"), loader.errorString());
        return nullptr;
    }
    auto *const plugin = qobject_cast<NewsPlugin *>(instance);
    if (!plugin) {
        *problem =
            sentence(QStringLiteral("This is not a news module for this application:"), path);
        return nullptr;
    }

    plugin->setHostIdentity({.bundleIdentifier = QStringLiteral("com.Olvane.Pelorin"),
                             .organizationName = QCoreApplication::organizationName(),
                             .applicationName = QCoreApplication::applicationName()});
    Error error;
    std::shared_ptr<NewsController> news = plugin->init(&error);
    if (!news) {
        const QString reason = error.userInfo.value(Error::underlyingErrorKey()).toString();
        *problem = sentence(QStringLiteral("The news panel could not be created:"),
                            reason.isEmpty() ? error.description() : reason);
    }
    return news;
}

}  // namespace pelorinnews::host
