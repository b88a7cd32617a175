#pragma once

#include "Screen.h"

#include <QDateTime>
#include <QMap>
#include <QProcess>
#include <QTemporaryDir>

namespace pelorinnews::test {

/// An item of the feed that a `Desktop` serves.
struct FeedEntry {
    QString title;
    QDateTime date;
    QString plainText;
    QString html;
    QString category = QStringLiteral("mac pelorin");
};

/// A whole desktop of one user as programs: a feed service over HTTPS, a notification daemon, and
/// the host, on the display and in the D-Bus session that the test runs in. All end with the
/// object, by process id.
class Desktop {
public:
    Desktop();
    ~Desktop();
    Desktop(const Desktop &) = delete;
    Desktop &operator=(const Desktop &) = delete;

    /// What the feed service answers from now on to a user of `language`.
    void serve(const QList<FeedEntry> &entries,
               const QString &language = QStringLiteral("en")) const;
    /// Stores a preference, before the host starts; removes it where `value` is invalid.
    void prefer(const QString &key, const QVariant &value) const;
    /// A preference as it is stored now.
    [[nodiscard]] QVariant preference(const QString &key) const;

    /// Sets a variable of the host's environment, before the host starts.
    void setVariable(const QString &name, const QString &value) { variables[name] = value; }

    /// Makes a program the user's browser that writes down what it is asked to open.
    void installBrowser() const;
    [[nodiscard]] QStringList opened() const;

    /// Starts the host in `application`, its folder on disk; by default as it is shipped.
    void startHost(const QString &application = QStringLiteral(PELORIN_APP_DIR));
    /// A copy of the application as one would ship it that does without the web engine.
    [[nodiscard]] QString applicationWithoutWebEngine() const;
    [[nodiscard]] bool hostIsRunning() const { return host.state() == QProcess::Running; }
    /// Ends the host by its key for quitting. False where it did not end well.
    [[nodiscard]] bool quitHost();

    /// Whether the host has the kernel tell it of changes in this folder.
    [[nodiscard]] bool hostWatches(const QString &watched) const;

    [[nodiscard]] qint64 hostProcess() const { return host.processId(); }

    /// The number of the host's visible window of this title; empty where there is none.
    [[nodiscard]] QString window(const QString &title) const {
        return Screen::window(hostProcess(), title);
    }
    [[nodiscard]] QString newsWindow() const { return window(QStringLiteral("Pelorin News")); }

    /// What stands on the screen and what went from it, by the notification daemon's account.
    [[nodiscard]] static int displayed();
    [[nodiscard]] static QStringList history();
    static void actOnNotification();

    [[nodiscard]] QString path(const QString &relative) const { return folder.filePath(relative); }

private:
    [[nodiscard]] QProcessEnvironment environment() const;

    QTemporaryDir folder;
    QProcess feedService;
    QProcess notificationDaemon;
    QProcess host;
    QString feedAddress;
    QMap<QString, QString> variables;
};

}  // namespace pelorinnews::test
