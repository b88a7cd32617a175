#pragma once

#include <QDateTime>
#include <QProcess>
#include <QRect>
#include <QTemporaryDir>

#include <memory>

namespace pelorinnews::test {

/// An item of the feed that a `Desktop` serves.
struct FeedEntry {
    QString title;
    QDateTime date;
    QString plainText;
    QString html;
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

    /// What the feed service answers from now on.
    void serve(const QList<FeedEntry> &entries) const;
    /// The stored value of a preference, before the host starts.
    void prefer(const QString &key, const QVariant &value) const;

    /// Starts the host in `application`, its folder on disk.
    void startHost(const QString &application = QStringLiteral(PELORIN_APP_DIR));
    [[nodiscard]] bool hostIsRunning() const { return host.state() == QProcess::Running; }
    /// Ends the host by its key for quitting. False where it did not end well.
    [[nodiscard]] bool quitHost();

    /// Whether the host has the kernel tell it of changes in this folder.
    [[nodiscard]] bool hostWatches(const QString &watched) const;

    /// The number of the host's visible window of this title; empty where there is none.
    [[nodiscard]] QString window(const QString &title) const;
    [[nodiscard]] QString newsWindow() const;
    /// The window's place on the screen without its frame; `frame` adds what is around it.
    [[nodiscard]] static QRect geometry(const QString &window);
    [[nodiscard]] static QMargins frame(const QString &window);

    struct Seen {
        QString role;
        QRect place;
        QString text;
    };
    /// What assistive software sees of the news window, in its order.
    [[nodiscard]] QList<Seen> seen() const;
    /// All its text in one.
    [[nodiscard]] QString text() const;

    static void click(QPoint place);
    /// Presses a key in the window, which becomes the active one.
    static void press(const QString &window, const QString &key);

    /// What stands on the screen and what went from it, by the notification daemon's account.
    [[nodiscard]] static int displayed();
    [[nodiscard]] static QStringList history();
    static void actOnNotification();

    static QByteArray output(const QString &program, const QStringList &arguments,
                             int *exitCode = nullptr);

    [[nodiscard]] QString path(const QString &relative) const { return folder.filePath(relative); }

private:
    [[nodiscard]] QProcessEnvironment environment() const;

    QTemporaryDir folder;
    QProcess feedService;
    QProcess notificationDaemon;
    QProcess host;
    QString feedAddress;
};

}  // namespace pelorinnews::test
