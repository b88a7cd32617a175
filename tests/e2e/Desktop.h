#pragma once

#include "FeedItem.h"
#include "Screen.h"

#include <QMap>
#include <QProcess>
#include <QTemporaryDir>

namespace pelorinnews::test {

/// A user's desktop of real programs: a feed service over HTTPS, a notification daemon, and the
/// host, on the test's display and in its D-Bus session. The destructor ends each program by its
/// process id.
class Desktop {
public:
    Desktop();
    ~Desktop();
    Desktop(const Desktop &) = delete;
    Desktop &operator=(const Desktop &) = delete;

    /// Sets the feed that the feed service serves to users of `language`.
    void serve(const QList<FeedItem> &items, const QString &language = QStringLiteral("en")) const;
    /// Stores a preference, or removes it if `value` is invalid. Only before the host starts.
    void prefer(const QString &key, const QVariant &value) const;
    /// The currently stored value of a preference.
    [[nodiscard]] QVariant preference(const QString &key) const;

    /// Sets a variable of the host's environment. Only before the host starts.
    void setVariable(const QString &name, const QString &value) { _variables[name] = value; }
    [[nodiscard]] QString variable(const QString &name) const { return _variables.value(name); }

    /// Installs a default browser that only records the addresses that it is told to open; `opened`
    /// returns them.
    void installBrowser() const;
    [[nodiscard]] QStringList opened() const;

    /// Starts the host in the application folder `application`, by default the one in the build
    /// folder.
    void startHost(const QString &application = QStringLiteral(PELORIN_APP_DIR));
    /// A copy of the application as shipped without the web engine.
    [[nodiscard]] QString applicationWithoutWebEngine() const;
    [[nodiscard]] bool hostIsRunning() const { return _host.state() == QProcess::Running; }
    /// Quits the host with Ctrl+Q. False if it did not exit cleanly.
    [[nodiscard]] bool quitHost();

    /// Whether the host watches this folder with inotify.
    [[nodiscard]] bool hostWatches(const QString &watched) const;

    [[nodiscard]] qint64 hostProcess() const { return _host.processId(); }

    /// The X11 id of the host's visible window with this title; empty if there is none.
    [[nodiscard]] QString window(const QString &title) const {
        return Screen::window(hostProcess(), title);
    }
    [[nodiscard]] QString newsWindow() const { return window(QStringLiteral("Pelorin News")); }

    /// `displayed` asks the notification daemon for the number of notifications on the screen,
    /// `history` for those that it no longer shows, each as "summary|body".
    [[nodiscard]] static int displayed();
    [[nodiscard]] static QStringList history();
    static void actOnNotification();

    [[nodiscard]] QString path(const QString &relative) const { return _folder.filePath(relative); }

private:
    [[nodiscard]] QProcessEnvironment environment() const;

    QTemporaryDir _folder;
    QProcess _feedService;
    QProcess _notificationDaemon;
    QProcess _host;
    QString _feedAddress;
    QMap<QString, QString> _variables;
};

}  // namespace pelorinnews::test
