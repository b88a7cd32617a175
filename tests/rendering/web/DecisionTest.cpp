// Which renderer a host gets, and how the host and the page process end: each case in a process of
// its own.

#include "TestMain.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>

#include <csignal>
#include <unistd.h>

class DecisionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // One function for each kind of host, because the functions of this test run in parallel.
    void paintsInEveryKindOfHost_data();
    void paintsInEveryKindOfHost();
    void paintsOnEveryPlatform_data();
    void paintsOnEveryPlatform() { paintsInEveryKindOfHost(); }
    void paintsForLaterApplications_data();
    void paintsForLaterApplications() { paintsInEveryKindOfHost(); }
    void paintsTextWithoutAPageProcess_data();
    void paintsTextWithoutAPageProcess() { paintsInEveryKindOfHost(); }
    void needsItsSandbox_data();
    void needsItsSandbox();
    void aProcessOfAnotherVersionIsTriedOnce();
    void theProcessEndsWell_data();
    void theProcessEndsWell();
    void noProcessOutlivesItsHost_data();
    void noProcessOutlivesItsHost();

private:
    struct End {
        int status = -1;
        QByteArray output;
        QByteArray renderer;  // one per application object, comma-separated
        QStringList children;
    };
    // Runs a host to its end; `surroundings` are environment variables as NAME=VALUE, or as NAME=
    // to remove one.
    static End run(const QString &program, const QStringList &options,
                   const QStringList &surroundings = {});
    // The process ids of all current descendants of the process `parent`.
    static QStringList below(qint64 parent);
    static QStringList alive(const QStringList &processes);
};

namespace {

const QString host = QStringLiteral(PELORIN_HOST);
const QString engineHost = QStringLiteral(PELORIN_ENGINE_HOST);
const QString wayland = QStringLiteral(PELORIN_WITH_WAYLAND);
const QStringList beside{QStringLiteral("--folder"),
                         QStringLiteral(PELORIN_APP_DIR "/lib/pelorin")};
const QStringList untilWeb = beside + QStringList{QStringLiteral("--web")};
const QString nobody = QStringLiteral("65534");

void addColumns() {
    QTest::addColumn<QString>("program");
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QStringList>("surroundings");
    QTest::addColumn<QByteArray>("renderer");
}

void row(const char *name, const QString &program, const QStringList &options,
         const QStringList &surroundings, const char *renderer) {
    QTest::newRow(name) << program << options << surroundings << QByteArray(renderer);
}

QString option(const char *name) {
    return QLatin1String(name);
}

// The command that runs `command` as the user "nobody", who cannot read root's private files.
QStringList asNobody(const QStringList &command) {
    return QStringList{option("setpriv"), option("--clear-groups"),
                       option("--reuid"), nobody,
                       option("--regid"), nobody} +
           command;
}

// Asks `unshare` whether the kernel lets the user create the namespaces that the engine's sandbox
// needs.
bool kernelAllowsSandbox(bool isForNobody) {
    QStringList command{option("unshare"), option("--user"), option("--pid"), option("true")};
    if (isForNobody)
        command = asNobody(command);
    QProcess process;
    process.start(command.first(), command.mid(1));
    return process.waitForFinished(testPatience) && process.exitCode() == 0;
}

QByteArray contentOf(const QString &path) {
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

// The ids in `processes` that still belong to a running page process or one of its helpers.
QStringList DecisionTest::alive(const QStringList &processes) {
    QStringList all;
    for (const QString &each : processes) {
        const QByteArray name = contentOf(QStringLiteral("/proc/%1/comm").arg(each));
        if (name.startsWith("QtWebEngine") || name.startsWith("pelorin-news"))
            all.append(each);
    }
    return all;
}

QStringList DecisionTest::below(qint64 parent) {
    QStringList all;
    const QString folder = QStringLiteral("/proc/%1/task/%1/children").arg(parent);
    const QString children = QString::fromLatin1(contentOf(folder));
    for (const QString &child : children.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        all.append(child);
        all += below(child.toLongLong());
    }
    return all;
}

DecisionTest::End DecisionTest::run(const QString &program, const QStringList &options,
                                    const QStringList &surroundings) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString &each : surroundings) {
        if (each.endsWith(QLatin1Char('=')))
            environment.remove(each.chopped(1));
        else
            environment.insert(each.section(QLatin1Char('='), 0, 0),
                               each.section(QLatin1Char('='), 1));
    }
    process.setProcessEnvironment(environment);
    process.start(program, options);
    if (!process.waitForStarted(testPatience))
        return {};
    End end;
    const qint64 number = process.processId();
    QElapsedTimer clock;
    clock.start();
    while (process.state() != QProcess::NotRunning && !clock.hasExpired(testPatience)) {
        const QStringList now = below(number);
        for (const QString &each : now)
            if (!end.children.contains(each))
                end.children.append(each);
        process.waitForFinished(10);
    }
    if (process.state() != QProcess::NotRunning) {
        process.terminate();  // its child processes end with it
        if (!process.waitForFinished(testPatience / 10))
            process.kill();
        process.waitForFinished(testPatience);
        return end;
    }
    end.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    end.output = process.readAllStandardOutput();
    for (const QByteArray &line : process.readAllStandardError().split('\n'))
        if (line.startsWith("renderer: "))
            end.renderer += (end.renderer.isEmpty() ? "" : ", ") + line.mid(10);
    return end;
}

void DecisionTest::paintsInEveryKindOfHost_data() {
    addColumns();
    row("an ordinary host", host, untilWeb, {}, "web");
    row("one that uses the engine itself", engineHost, untilWeb, {}, "web");
    row("one that reaps every child", host, untilWeb + QStringList{option("--reap")}, {}, "web");
    row("one that ignores the end of children", host, untilWeb + QStringList{option("--ignore")},
        {}, "web");
    const QStringList killed = untilWeb + QStringList{option("--kill")};
    row("one whose page process is killed", host, killed, {}, "web");
    row("one that reaps it then", host, killed + QStringList{option("--reap")}, {}, "web");
    row("one that ignores that", host, killed + QStringList{option("--ignore")}, {}, "web");
    row("one that reaps it in a signal handler", host, killed + QStringList{option("--handler")},
        {}, "web");
    row("one that blocks signals, in no folder", host,
        killed + QStringList{option("--blocked"), option("--lost")}, {}, "web");
    row("one without standard streams", host, killed + QStringList{option("--closed")}, {}, "web");
    row("one with styles that ends at a warning", host,
        killed + QStringList{option("--styled"), option("--strict")},
        {QStringLiteral("QT_SCALE_FACTOR=1.25")}, "web");
    row("one with settings that are not for the page process", host, untilWeb,
        {QStringLiteral("QTWEBENGINE_CHROMIUM_FLAGS=--single-process --disable-gpu=no"),
         QStringLiteral("QTWEBENGINE_REMOTE_DEBUGGING=nonsense"),
         QStringLiteral("QT_QUICK_BACKEND=nonsense"), QStringLiteral("QSG_RHI_BACKEND=nonsense"),
         QStringLiteral("QT_STYLE_OVERRIDE=nonsense"), QStringLiteral("QT_DEBUG_PLUGINS=1"),
         QStringLiteral("QT_LOGGING_RULES=*=true"), QStringLiteral("QT_SCALE_FACTOR=1.75"),
         QStringLiteral("QT_FONT_DPI=144"), QStringLiteral("LD_LIBRARY_PATH=/nowhere")},
        "web");
    row("one with a thousand files open", host, untilWeb + QStringList{option("--open")}, {},
        "web");
    // The `prlimit` program sets the limit and then executes the host in its own process.
    const auto limited = [](const char *limit, const QStringList &options) {
        return QStringList{QLatin1String(limit), host} + options;
    };
    const auto prlimit = QStringLiteral("prlimit");
    row("few descriptors", prlimit, limited("--nofile=16", beside), {}, "text");
    row("just enough descriptors", prlimit, limited("--nofile=192", untilWeb), {}, "web");
    row("small files only", prlimit, limited("--fsize=100000", beside), {}, "text");
}

void DecisionTest::paintsOnEveryPlatform_data() {
    addColumns();
    const QStringList offscreen{QStringLiteral("QT_QPA_PLATFORM=offscreen"),
                                QStringLiteral("DISPLAY=")};
    row("Wayland", wayland, QStringList{host} + untilWeb, {}, "web");
    row("Wayland without GL", wayland, QStringList{host} + untilWeb,
        {QStringLiteral("QT_WAYLAND_CLIENT_BUFFER_INTEGRATION=none")}, "web");
    row("X11 without GL", host, untilWeb, {QStringLiteral("QT_XCB_GL_INTEGRATION=none")}, "web");
    row("no display", host, untilWeb, offscreen, "web");
}

void DecisionTest::paintsForLaterApplications_data() {
    addColumns();
    const QString again = option("--again");
    row("two applications", host, untilWeb + QStringList{again}, {}, "web, web");
    row("two applications on Wayland", wayland, QStringList{host} + untilWeb + QStringList{again},
        {}, "web, web");
    row("two applications of a host that uses the engine itself", engineHost,
        untilWeb + QStringList{again}, {}, "web, web");
    row("the second application's first window", host, untilWeb + QStringList{option("--late")}, {},
        "web");
}

void DecisionTest::paintsTextWithoutAPageProcess_data() {
    addColumns();
    const QString folder = option("--folder");
    row("no program", host, {folder, QStringLiteral("/nonexistent")}, {}, "text");
    row("no program, opened again", host,
        {folder, QStringLiteral("/nonexistent"), option("--reopen")}, {}, "text");
    row("an engine without its helper program", host, beside,
        {QStringLiteral("QTWEBENGINEPROCESS_PATH=/nonexistent")}, "text");
    row("an engine without its resources", host, beside,
        {QStringLiteral("QTWEBENGINE_RESOURCES_PATH=/nonexistent")}, "text");
}

void DecisionTest::paintsInEveryKindOfHost() {
    QFETCH(const QString, program);
    QFETCH(const QStringList, options);
    QFETCH(const QStringList, surroundings);
    QFETCH(const QByteArray, renderer);
    const End end = run(program, options, surroundings);
    QCOMPARE(end.renderer, renderer);
    QCOMPARE(end.status, 0);
    QCOMPARE(end.output, QByteArray());
}

void DecisionTest::needsItsSandbox_data() {
    QTest::addColumn<bool>("isForNobody");
    QTest::addColumn<bool>("isConfined");
    QTest::newRow("this user") << false << false;
    QTest::newRow("nobody") << true << false;
    QTest::newRow("nobody, without user namespaces") << true << true;
}

void DecisionTest::needsItsSandbox() {
    QFETCH(const bool, isForNobody);
    QFETCH(const bool, isConfined);
    const bool isRoot = ::geteuid() == 0;
    if (isForNobody && !isRoot)
        QSKIP("only root can become another user");
    // The engine never has a sandbox as root.
    const bool works = (isForNobody || !isRoot) && !isConfined && kernelAllowsSandbox(isForNobody);
    const QTemporaryDir home;
    QVERIFY(QFile::setPermissions(home.path(), QFile::Permissions(0x7777)));
    QStringList command = QStringList{host} + (works ? untilWeb : beside);
    if (isConfined)
        command.append(option("--confined"));
    if (isForNobody)
        command = asNobody(command);
    const End end =
        run(command.first(), command.mid(1),
            {QStringLiteral("QTWEBENGINE_DISABLE_SANDBOX="),
             QStringLiteral("QT_QPA_PLATFORM=offscreen"), QStringLiteral("HOME=") + home.path()});
    QCOMPARE(end.renderer, QByteArray(works ? "web" : "text"));
    QCOMPARE(end.status, 0);
    QCOMPARE(end.output, QByteArray());
}

// The page process is a script that reports another version and counts how often it is started.
void DecisionTest::aProcessOfAnotherVersionIsTriedOnce() {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("pelorin-news-page"));
    QFile program(path);
    QVERIFY(program.open(QFile::WriteOnly));
    // Writes a message of type 1 with the number 99 to descriptor 3.
    program.write(
        "#!/bin/sh\n"
        "echo started >> \"$(dirname \"$0\")/starts\"\n"
        "{ printf '\\001\\0\\0\\0\\0\\0\\0\\0\\143\\0\\0\\0'; "
        "head -c 4084 /dev/zero; } | dd bs=4096 iflag=fullblock >&3 2>/dev/null\n"
        "sleep 60\n");
    program.close();
    QVERIFY(program.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    const End end = run(host, {option("--folder"), folder.path(), option("--reopen")});
    QCOMPARE(end.renderer, QByteArray("text"));
    QCOMPARE(end.status, 0);
    QCOMPARE(contentOf(folder.filePath(QStringLiteral("starts"))), QByteArray("started\n"));
}

void DecisionTest::theProcessEndsWell_data() {
    QTest::addColumn<QString>("how");
    QTest::newRow("returning from main") << QString();
    QTest::newRow("while a page loads") << QStringLiteral("--leave");
    QTest::newRow("by exit, with all alive") << QStringLiteral("--quit");
}

void DecisionTest::theProcessEndsWell() {
    QFETCH(const QString, how);
    const End end = run(host, beside + QStringList{how});
    QCOMPARE(end.status, 0);
    QCOMPARE(end.output, QByteArray());
    QVERIFY(!end.children.isEmpty() || how == QStringLiteral("--leave"));
    QTRY_COMPARE(alive(end.children), QStringList());
}

void DecisionTest::noProcessOutlivesItsHost_data() {
    QTest::addColumn<int>("signal");
    QTest::addColumn<bool>("forks");
    QTest::newRow("killed") << SIGKILL << false;
    QTest::newRow("crashed") << SIGSEGV << false;
    QTest::newRow("terminated") << SIGTERM << false;
    // The copy has the host's sockets.
    QTest::newRow("killed, with a copy of itself alive") << SIGKILL << true;
}

void DecisionTest::noProcessOutlivesItsHost() {
    QFETCH(const int, signal);
    QFETCH(const bool, forks);
    QProcess process;
    // With --stay the host does not end by itself.
    process.start(host, untilWeb + QStringList{option("--stay"), option(forks ? "--fork" : "")});
    QVERIFY(process.waitForStarted(testPatience));
    const auto copies = [&process] {
        QStringList all = below(process.processId());
        all.removeIf([](const QString &each) { return !alive({each}).isEmpty(); });
        return all;
    };
    // There are at least three: the page process, the engine's helper and the page's renderer
    // process.
    QTRY_VERIFY(alive(below(process.processId())).size() >= 3);
    QTRY_COMPARE(copies().size(), forks ? 1 : 0);
    const QStringList children = below(process.processId());
    const QStringList copied = copies();
    const auto endCopies = qScopeGuard([&copied] {
        for (const QString &copy : copied)
            ::kill(copy.toInt(), SIGKILL);
    });
    QCOMPARE(::kill(static_cast<pid_t>(process.processId()), signal), 0);
    QVERIFY(process.waitForFinished(testPatience));
    QTRY_COMPARE(alive(children), QStringList());
    for (const QString &copy : copied)
        QCOMPARE(::kill(copy.toInt(), 0), 0);
}

PELORIN_CORE_TEST_MAIN(DecisionTest)
#include "DecisionTest.moc"
