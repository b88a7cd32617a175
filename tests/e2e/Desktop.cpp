#include "Desktop.h"

#include "Assistive.h"
#include "FeedTemplate.h"
#include "Program.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QSettings>
#include <QTest>

#include <algorithm>
#include <sched.h>
#include <sys/stat.h>

namespace pelorinnews::test {

namespace {

void write(const QString &path, const QByteArray &text) {
    // Written atomically, because the feed service may read the file at any time.
    QSaveFile file(path);
    if (!file.open(QFile::WriteOnly) || file.write(text) != text.size() || !file.commit())
        qFatal("cannot write %s", qPrintable(path));
}

QByteArray contentOf(const QString &path) {
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

/// Takes a host's search for its copies out of the idle scheduling class, in which it makes hardly
/// any progress on a busy computer. Only root may do so; for other users the search takes longer.
void hurrySearch(qint64 host) {
    const QString tasks = QStringLiteral("/proc/%1/task/").arg(host);
    const QStringList threads = QDir(tasks).entryList(QDir::Dirs);
    for (const QString &thread : threads) {
        const sched_param ordinary{};
        if (contentOf(tasks + thread + QStringLiteral("/comm")) == "pelorin-walk\n")
            ::sched_setscheduler(thread.toInt(), SCHED_OTHER, &ordinary);
    }
}

void end(QProcess &process) {
    if (process.state() == QProcess::NotRunning)
        return;
    process.terminate();
    if (!process.waitForFinished(testPatience)) {
        process.kill();
        process.waitForFinished(testPatience);
    }
}

}  // namespace

Desktop::Desktop() {
    for (const char *name : {"feeds", "config/Olvane", "data", "state", "cache", "run"})
        QDir(_folder.path()).mkpath(QString::fromLatin1(name));
    QFile::setPermissions(path(QStringLiteral("run")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    serve({});
    write(path(QStringLiteral("dunstrc")),
          "[global]\nhistory_length = 50\nidle_threshold = 0\n[urgency_normal]\ntimeout = 0\n");
    _notificationDaemon.setStandardErrorFile(QProcess::nullDevice());
    _notificationDaemon.start(QStringLiteral("dunst"),
                              {QStringLiteral("-conf"), path(QStringLiteral("dunstrc"))});
    // Asks the bus, because a call to the daemon's name would make the bus start another daemon,
    // which has no display.
    const auto answers = [] {
        return outputOf(QStringLiteral("dbus-send"),
                        {QStringLiteral("--session"), QStringLiteral("--print-reply=literal"),
                         QStringLiteral("--dest=org.freedesktop.DBus"), QStringLiteral("/"),
                         QStringLiteral("org.freedesktop.DBus.NameHasOwner"),
                         QStringLiteral("string:org.freedesktop.Notifications")})
            .endsWith("true");
    };
    if (!QTest::qWaitFor(answers, testPatience))
        qFatal("the notification daemon does not start");

    _feedService.start(QStringLiteral(PELORIN_APP_DIR "/bin/pelorin-feedserver"),
                       {QStringLiteral("--feeds"), path(QStringLiteral("feeds")),
                        QStringLiteral("--tls"), path(QStringLiteral("tls"))});
    if (!_feedService.waitForReadyRead(testPatience))
        qFatal("the feed service does not start: %s",
               _feedService.readAllStandardError().constData());
    _feedAddress = QString::fromUtf8(_feedService.readLine().trimmed());
    prefer(QStringLiteral("newsFeedBaseURL"), _feedAddress);
    prefer(QStringLiteral("newsFeedLocale"), QStringLiteral("en"));
    // Start the accessibility bus before the host starts, because the host looks for it only once.
    static_cast<void>(Assistive::tree(0));
}

Desktop::~Desktop() {
    // The host's process ends only after its search for other copies of itself, so speed that up.
    hurrySearch(_host.processId());
    end(_host);
    end(_feedService);
    end(_notificationDaemon);
}

void Desktop::serve(const QList<FeedItem> &items, const QString &language) const {
    QByteArray text =
        "<rss version=\"2.0\"><channel><language>" + language.toUtf8() + "</language>";
    for (const FeedItem &item : items)
        text += "<item><title>" + item.title.toUtf8() + "</title><pubDate>" +
                FeedTemplate::publicationDate(item.date, language).toUtf8() +
                "</pubDate><category>" + item.category.toUtf8() + "</category><comments>" +
                item.plainText.toUtf8() + "</comments><description><![CDATA[" + item.html.toUtf8() +
                "]]></description></item>";
    write(path(QStringLiteral("feeds/standard.") + language + QStringLiteral(".xml")),
          text + "</channel></rss>\n");
}

void Desktop::prefer(const QString &key, const QVariant &value) const {
    QSettings settings(path(QStringLiteral("config/Olvane/Pelorin.conf")), QSettings::IniFormat);
    if (value.isValid())
        settings.setValue(key, value);
    else
        settings.remove(key);
}

QVariant Desktop::preference(const QString &key) const {
    return QSettings(path(QStringLiteral("config/Olvane/Pelorin.conf")), QSettings::IniFormat)
        .value(key);
}

void Desktop::installBrowser() const {
    QDir(_folder.path()).mkpath(QStringLiteral("data/applications"));
    write(path(QStringLiteral("browser")), "#!/bin/sh\nprintf '%s\\n' \"$@\" >>'" +
                                               QFile::encodeName(path(QStringLiteral("opened"))) +
                                               "'\n");
    QFile::setPermissions(path(QStringLiteral("browser")), QFile::ReadOwner | QFile::ExeOwner);
    write(path(QStringLiteral("data/applications/browser.desktop")),
          "[Desktop Entry]\nType=Application\nName=Browser\nExec=" +
              QFile::encodeName(path(QStringLiteral("browser"))) +
              " %u\nMimeType=x-scheme-handler/http;x-scheme-handler/https;\n");
    write(path(QStringLiteral("config/mimeapps.list")),
          "[Default Applications]\nx-scheme-handler/http=browser.desktop\n"
          "x-scheme-handler/https=browser.desktop\n");
}

QStringList Desktop::opened() const {
    const QString all = QString::fromUtf8(contentOf(path(QStringLiteral("opened"))));
    return all.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QProcessEnvironment Desktop::environment() const {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), _folder.path());
    for (const char *name : {"CONFIG_HOME", "DATA_HOME", "STATE_HOME", "CACHE_HOME", "RUNTIME_DIR"})
        environment.insert(
            QStringLiteral("XDG_") + QLatin1String(name),
            path(QString::fromLatin1(name).section(QLatin1Char('_'), 0, 0).toLower()));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), path(QStringLiteral("run")));
    environment.insert(QStringLiteral("QT_LINUX_ACCESSIBILITY_ALWAYS_ON"), QStringLiteral("1"));
    for (auto each = _variables.begin(); each != _variables.end(); ++each)
        environment.insert(each.key(), each.value());
    return environment;
}

void Desktop::startHost(const QString &application) {
    _host.setProcessEnvironment(environment());
    _host.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    _host.start(application + QStringLiteral("/bin/pelorin"),
                {QStringLiteral("--trust"), path(QStringLiteral("tls/ca.pem"))});
    if (!_host.waitForStarted(testPatience))
        qFatal("the host does not start: %s", qPrintable(_host.errorString()));
}

QString Desktop::applicationWithoutWebEngine() const {
    const QString copy = path(QStringLiteral("Pelorin.app"));
    int failed = -1;
    outputOf(QStringLiteral("cp"), {QStringLiteral("-a"), QStringLiteral(PELORIN_APP_DIR), copy},
             &failed);
    if (failed != 0 || !QFile::remove(copy + QStringLiteral("/lib/pelorin/pelorin-news-page")))
        qFatal("the application cannot be copied");
    return copy;
}

bool Desktop::quitHost() {
    QString window;
    if (!QTest::qWaitFor(
            [&] {
                window = this->window(QStringLiteral("Pelorin"));
                return !window.isEmpty();
            },
            testPatience))
        return false;
    // On a busy computer the window may get the focus only after the key was sent, so it is sent
    // again.
    for (int attempt = 0; attempt < 5 && _host.state() != QProcess::NotRunning; ++attempt) {
        Screen::press(window, QStringLiteral("ctrl+q"));
        _host.waitForFinished(testPatience / 5);
    }
    return _host.state() == QProcess::NotRunning && _host.exitStatus() == QProcess::NormalExit &&
           _host.exitCode() == 0;
}

bool Desktop::hostWatches(const QString &watched) const {
    hurrySearch(_host.processId());
    struct stat status {};
    if (::stat(QFile::encodeName(watched).constData(), &status) != 0)
        return false;
    const QByteArray watch = " ino:" + QByteArray::number(status.st_ino, 16) + ' ';
    const QString descriptors = QStringLiteral("/proc/%1/fdinfo/").arg(_host.processId());
    const QStringList all = QDir(descriptors).entryList(QDir::Files);
    return std::any_of(all.begin(), all.end(), [&](const QString &each) {
        return contentOf(descriptors + each).contains(watch);
    });
}

int Desktop::displayed() {
    return outputOf(QStringLiteral("dunstctl"),
                    {QStringLiteral("count"), QStringLiteral("displayed")})
        .toInt();
}

QStringList Desktop::history() {
    const QJsonArray entries =
        QJsonDocument::fromJson(outputOf(QStringLiteral("dunstctl"), {QStringLiteral("history")}))
            .object()[QStringLiteral("data")][0]
            .toArray();
    QStringList all;
    for (const QJsonValue &entry : entries)
        all.append(entry[QStringLiteral("summary")][QStringLiteral("data")].toString() +
                   QLatin1Char('|') +
                   entry[QStringLiteral("body")][QStringLiteral("data")].toString());
    return all;
}

void Desktop::actOnNotification() {
    outputOf(QStringLiteral("dunstctl"), {QStringLiteral("action")});
}

}  // namespace pelorinnews::test
