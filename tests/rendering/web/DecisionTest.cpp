// Which renderer a host gets, and how the host exits: each case in a process of its own.

#include "TestMain.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

class DecisionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // One function for each kind of host, because the functions of this test run in parallel.
    void givesTheRendererThatIsSafe_data();
    void givesTheRendererThatIsSafe();
    void givesTheRendererThatIsSafeOnWayland_data();
    void givesTheRendererThatIsSafeOnWayland() { givesTheRendererThatIsSafe(); }
    void givesTheRendererThatIsSafeToLaterApplications_data();
    void givesTheRendererThatIsSafeToLaterApplications() { givesTheRendererThatIsSafe(); }
    void givesTheTextRendererWithoutTheEngine_data();
    void givesTheTextRendererWithoutTheEngine() { givesTheRendererThatIsSafe(); }
    void aFileThatIsNoPluginLeavesTheTextRenderer();
    void theProcessEndsWell_data();
    void theProcessEndsWell();

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
};

namespace {

const QString host = QStringLiteral(PELORIN_HOST);
const QString engineHost = QStringLiteral(PELORIN_ENGINE_HOST);
const QString wayland = QStringLiteral(PELORIN_WITH_WAYLAND);
const QString plugins = QStringLiteral(PELORIN_APP_DIR "/lib/pelorin");

const QString plugin = QStringLiteral("--folder");
const QString share = QStringLiteral("--share");
const QString painted = QStringLiteral("--painted");
const QString again = QStringLiteral("--again");

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

QByteArray contentOf(const QString &path) {
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

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

void DecisionTest::givesTheRendererThatIsSafe_data() {
    addColumns();
    row("a host that shares", host, {share, painted, plugin, plugins}, {}, "web");
    row("a host that does not", host, {painted, plugin, plugins}, {}, "web");
    // The `prlimit` program sets the limit and then executes the host in its own process.
    const auto limited = [](const char *limit, const QStringList &command) {
        return QStringList{QStringLiteral("--nofile=") + QLatin1String(limit)} + command;
    };
    row("few descriptors", QStringLiteral("prlimit"),
        limited("40", {host, share, painted, plugin, plugins}), {}, "text");
    row("enough descriptors", QStringLiteral("prlimit"),
        limited("192", {host, share, painted, plugin, plugins}), {}, "web");
    row("a host that uses the engine itself", engineHost, {share, painted, plugin, plugins}, {},
        "text");
    row("one that knows the panel, too", engineHost,
        {share, QStringLiteral("--register"), painted, plugin, plugins}, {}, "web");
}

void DecisionTest::givesTheRendererThatIsSafeOnWayland_data() {
    addColumns();
    row("a host that shares", wayland, {host, share, painted, plugin, plugins}, {}, "web");
    row("a host that does not", wayland, {host, painted, plugin, plugins}, {}, "web");
    row("no GL", wayland, {host, plugin, plugins},
        {QStringLiteral("QT_WAYLAND_CLIENT_BUFFER_INTEGRATION=none")}, "text");
    row("two applications", wayland, {host, again, plugin, plugins}, {}, "web, text");
}

void DecisionTest::givesTheRendererThatIsSafeToLaterApplications_data() {
    addColumns();
    row("two applications, a host that shares", host, {share, painted, again, plugin, plugins}, {},
        "web, text");
    row("two applications, a host that does not", host, {painted, again, plugin, plugins}, {},
        "web, text");
    row("two applications, a host that uses the engine itself", engineHost,
        {share, painted, again, plugin, plugins}, {}, "text, text");
    row("two applications, one that knows the panel, too", engineHost,
        {share, QStringLiteral("--register"), painted, again, plugin, plugins}, {}, "web, text");
    row("the second application's first window, a host that shares", host,
        {share, painted, QStringLiteral("--late"), plugin, plugins}, {}, "web");
    row("the second application's first window", host,
        {painted, QStringLiteral("--late"), plugin, plugins}, {}, "web");
}

void DecisionTest::givesTheTextRendererWithoutTheEngine_data() {
    addColumns();
    const QStringList offscreen{QStringLiteral("QT_QPA_PLATFORM=offscreen"),
                                QStringLiteral("DISPLAY=")};
    const QStringList noGl{QStringLiteral("QT_XCB_GL_INTEGRATION=none")};
    row("no plug-in", host, {share, painted, plugin, QStringLiteral("/nonexistent")}, {}, "text");
    row("no display", host, {painted, plugin, plugins}, offscreen, "text");
    row("no display, a host that shares", host, {share, painted, plugin, plugins}, offscreen,
        "text");
    row("no GL", host, {painted, plugin, plugins}, noGl, "text");
    row("no GL, a host that shares", host, {share, painted, plugin, plugins}, noGl, "text");
}

void DecisionTest::givesTheRendererThatIsSafe() {
    QFETCH(const QString, program);
    QFETCH(const QStringList, options);
    QFETCH(const QStringList, surroundings);
    QFETCH(const QByteArray, renderer);
    const End end = run(program, options, surroundings);
    QCOMPARE(end.renderer, renderer);
    QCOMPARE(end.status, 0);
    QCOMPARE(end.output, QByteArray());
}

void DecisionTest::aFileThatIsNoPluginLeavesTheTextRenderer() {
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("PelorinNewsWeb.so")));
    QVERIFY(file.open(QFile::WriteOnly));
    QVERIFY(file.write("no plug-in at all") > 0);
    file.close();
    const End end =
        run(host, {QStringLiteral("--share"), QStringLiteral("--folder"), folder.path()});
    QCOMPARE(end.renderer, QByteArray("text"));
    QCOMPARE(end.status, 0);
    QCOMPARE(end.output, QByteArray());
}

void DecisionTest::theProcessEndsWell_data() {
    QTest::addColumn<QString>("how");
    QTest::newRow("returning from main") << QString();
    QTest::newRow("while a page loads") << QStringLiteral("--leave");
    QTest::newRow("by exit, with all alive") << QStringLiteral("--quit");
}

void DecisionTest::theProcessEndsWell() {
    QFETCH(const QString, how);
    const End end =
        run(host, {QStringLiteral("--share"), QStringLiteral("--folder"), plugins, how});
    QCOMPARE(end.renderer, QByteArray("web"));
    QCOMPARE(end.status, 0);
    QCOMPARE(end.output, QByteArray());
    // No process of the engine is left.
    QVERIFY(!end.children.isEmpty() || how == QStringLiteral("--leave"));
    const auto left = [&end] {
        QStringList all;
        for (const QString &each : end.children)
            if (contentOf(QStringLiteral("/proc/%1/comm").arg(each)).startsWith("QtWebEngine"))
                all.append(each);
        return all;
    };
    QTRY_COMPARE(left(), QStringList());
}

PELORIN_CORE_TEST_MAIN(DecisionTest)
#include "DecisionTest.moc"
