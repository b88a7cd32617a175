#include "TrackerSession.h"

#include "Patience.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <memory>
#include <sched.h>
#include <sys/resource.h>

namespace pelorinnews::test {

namespace {

constexpr const char *insideVariable = "PELORIN_TEST_TRACKER_HOME";

std::unique_ptr<QTemporaryDir> indexableFolder() {
    for (const char *place : {"/srv", "/var/lib", "/var/tmp"}) {
        const QString pattern = QLatin1String(place) + QLatin1String("/pelorin-test-XXXXXX");
        auto folder = std::make_unique<QTemporaryDir>(pattern);
        if (folder->isValid())
            return folder;
    }
    return nullptr;
}

void makeHome(const QDir &home) {
    for (const char *folder : {"Documents", ".config", ".local/share", ".local/state", ".cache"})
        home.mkpath(QLatin1String(folder));
    home.mkpath(QStringLiteral("run"));
    QFile::setPermissions(home.filePath(QStringLiteral("run")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QFile folders(home.filePath(QStringLiteral(".config/user-dirs.dirs")));
    if (folders.open(QIODevice::WriteOnly))
        folders.write("XDG_DOCUMENTS_DIR=\"$HOME/Documents\"\n");
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral(".config")).toUtf8());
    qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral(".local/share")).toUtf8());
    qputenv("XDG_STATE_HOME", home.filePath(QStringLiteral(".local/state")).toUtf8());
    qputenv("XDG_CACHE_HOME", home.filePath(QStringLiteral(".cache")).toUtf8());
    qputenv("XDG_RUNTIME_DIR", home.filePath(QStringLiteral("run")).toUtf8());
    qputenv("GSETTINGS_BACKEND", "memory");
}

/// Writes the configuration of a bus without service activation: the bus starts neither the user's
/// own index nor services of an index that was just stopped. Returns the file's path.
QString busConfiguration(const QDir &home) {
    const QString path = home.filePath(QStringLiteral("bus.conf"));
    QFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(
            "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen>"
            "<auth>EXTERNAL</auth><policy context=\"default\"><allow send_destination=\"*\"/>"
            "<allow receive_sender=\"*\"/><allow own=\"*\"/></policy></busconfig>");
    }
    return path;
}

/// Gives a process and its threads the CPU class and priority of ordinary programs. The file index
/// puts itself into the idle class, where it gets no CPU time on a busy computer.
void runAsOrdinaryProgram(qint64 process) {
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(process));
    const QStringList threads = tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &thread : threads) {
        const auto number = thread.toInt();
        const sched_param priority{};
        ::sched_setscheduler(number, SCHED_OTHER, &priority);
        ::setpriority(PRIO_PROCESS, static_cast<id_t>(number), 0);
    }
}

}  // namespace

int runInTrackerSession(int argc, char *argv[], const std::function<int()> &tests) {
    if (isInTrackerSession())
        return tests();
    const auto folder = indexableFolder();
    if (!folder)
        return tests();
    makeHome(QDir(folder->path()));
    qputenv(insideVariable, folder->path().toUtf8());
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    QStringList command = {
        QStringLiteral("--config-file=") + busConfiguration(QDir(folder->path())),
        QStringLiteral("--"), QFile::symLinkTarget(QStringLiteral("/proc/self/exe"))};
    for (int i = 1; i < argc; ++i)
        command << QString::fromLocal8Bit(argv[i]);
    return QProcess::execute(QStringLiteral("dbus-run-session"), command);
}

bool isInTrackerSession() {
    return qEnvironmentVariableIsSet(insideVariable);
}

bool TrackerMiner::start() {
    if (!isInTrackerSession())
        return false;
    // Remove any earlier index: a process that was stopped while it created its index leaves one
    // that no other process can open.
    QDir(qEnvironmentVariable(insideVariable) + QStringLiteral("/.cache/tracker3"))
        .removeRecursively();
    _process.setStandardErrorFile(QProcess::nullDevice());
    _process.setStandardOutputFile(QProcess::nullDevice());
    _process.start(QStringLiteral("/usr/libexec/tracker-miner-fs-3"),
                   {QStringLiteral("--initial-sleep=0")});
    if (!_process.waitForStarted(testPatience))
        return false;
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < testPatience) {
        runAsOrdinaryProgram(_process.processId());
        auto question = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.Tracker3.Miner.Files"),
            QStringLiteral("/org/freedesktop/Tracker3/Miner/Files"),
            QStringLiteral("org.freedesktop.Tracker3.Miner"), QStringLiteral("GetStatus"));
        question.setAutoStartService(false);
        const QDBusMessage reply = QDBusConnection::sessionBus().call(question);
        if (reply.arguments().value(0).toString() == QLatin1String("Idle"))
            return true;
        if (_process.waitForFinished(20))
            return false;
    }
    return false;
}

void TrackerMiner::stop() {
    if (_process.state() == QProcess::NotRunning)
        return;
    _process.terminate();
    if (!_process.waitForFinished(testPatience)) {
        _process.kill();
        _process.waitForFinished(testPatience);
    }
}

}  // namespace pelorinnews::test
