#include "TestHome.h"

#include <QDir>

#include <cerrno>

namespace pelorinnews::test {

// Named after the program, so that a folder that stays behind tells which test left it.
TestHome::TestHome()
    : _home(QDir::temp().filePath(QString::fromLocal8Bit(program_invocation_short_name) +
                                  QStringLiteral("-XXXXXX"))) {
    if (!_home.isValid())
        qFatal("cannot create a temporary home folder: %s", qPrintable(_home.errorString()));
    qputenv("HOME", _home.path().toUtf8());
    const QList<std::pair<const char *, QString>> folders = {
        {"XDG_CONFIG_HOME", QStringLiteral(".config")},
        {"XDG_DATA_HOME", QStringLiteral(".local/share")},
        {"XDG_STATE_HOME", QStringLiteral(".local/state")},
        {"XDG_CACHE_HOME", QStringLiteral(".cache")},
        {"XDG_RUNTIME_DIR", QStringLiteral("run")},
    };
    for (const auto &[variable, folder] : folders) {
        const QString path = _home.filePath(folder);
        QDir().mkpath(path);
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv(variable, path.toUtf8());
    }
}

}  // namespace pelorinnews::test
