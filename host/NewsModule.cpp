#include "NewsModule.h"

#include "pelorinnews/LoadNewsPlugin.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace pelorinnews::host {

namespace {

QString sentence(const QString &beginning, const QString &reason) {
    return beginning + QLatin1Char(' ') + reason;
}

}  // namespace

QString newsModulePath() {
    const QDir folder(QCoreApplication::applicationDirPath());
    const QString beside = folder.filePath(QStringLiteral("../lib/pelorin/PelorinNews.so"));
    if (QFileInfo::exists(beside))
        return QDir::cleanPath(beside);
    for (const auto &path :
         {QStringLiteral(PELORIN_INSTALLED_MODULE), QStringLiteral(PELORIN_PACKAGED_MODULE)}) {
        if (folder.exists(path))
            return QDir::cleanPath(folder.filePath(path));
    }
    return QDir::cleanPath(beside);
}

std::shared_ptr<NewsController> createNews(const QString &path, QString *problem) {
    if (!QFileInfo(path).isFile()) {
        *problem = sentence(QStringLiteral("There is no news module at"), path);
        return nullptr;
    }
    QString reason;
    NewsPlugin *const plugin = loadNewsPlugin(path, &reason);
    if (!plugin) {
        *problem = sentence(QStringLiteral("The news module could not be loaded:"), reason);
        return nullptr;
    }

    plugin->setHostIdentity({.bundleIdentifier = QStringLiteral("com.Olvane.Pelorin"),
                             .organizationName = QCoreApplication::organizationName(),
                             .applicationName = QCoreApplication::applicationName()});
    Error error;
    std::shared_ptr<NewsController> news = plugin->init(&error);
    if (!news) {
        reason = error.userInfo.value(Error::underlyingErrorKey()).toString();
        *problem = sentence(QStringLiteral("The news panel could not be created:"),
                            reason.isEmpty() ? error.description() : reason);
    }
    return news;
}

}  // namespace pelorinnews::host
