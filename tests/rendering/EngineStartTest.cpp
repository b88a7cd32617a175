// The prediction whether the web engine can start. It must be right, because an engine that fails
// to start ends the process.

#include "TestMain.h"
#include "rendering/EngineStart.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace pelorinnews;

namespace {

constexpr auto nobody = "65534";

// Runs this program in a child process, with the argument "ask" and these environment variables, as
// the present user or as "nobody". Returns its exit status; -1 on failure.
int asked(const QStringList &variables, bool asNobody = false, const QStringList &arguments = {}) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("QTWEBENGINE_DISABLE_SANDBOX"));
    environment.remove(QStringLiteral("QTWEBENGINE_CHROMIUM_FLAGS"));
    for (const QString &each : variables)
        environment.insert(each.section(QLatin1Char('='), 0, 0), each.section(QLatin1Char('='), 1));
    process.setProcessEnvironment(environment);
    QStringList command = {QCoreApplication::applicationFilePath(), QStringLiteral("ask")};
    if (asNobody)
        command = QStringList{QStringLiteral("setpriv"), QStringLiteral("--clear-groups"),
                              QStringLiteral("--reuid"), QLatin1String(nobody),
                              QStringLiteral("--regid"), QLatin1String(nobody)} +
                  command;
    process.start(command.first(), command.mid(1) + arguments);
    if (!process.waitForFinished(testPatience))
        return -1;
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

// Asks `unshare` whether the kernel lets the user create the namespaces that the engine's sandbox
// needs.
bool kernelAllows(bool asNobody) {
    QProcess process;
    QStringList command = {QStringLiteral("unshare"), QStringLiteral("--user"),
                           QStringLiteral("--pid"), QStringLiteral("true")};
    if (asNobody)
        command = QStringList{QStringLiteral("setpriv"), QStringLiteral("--clear-groups"),
                              QStringLiteral("--reuid"), QLatin1String(nobody),
                              QStringLiteral("--regid"), QLatin1String(nobody)} +
                  command;
    process.start(command.first(), command.mid(1));
    return process.waitForFinished(testPatience) && process.exitCode() == 0;
}

}  // namespace

class EngineStartTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isNotForTheAdministrator();
    void anyoneElseHasItWhereTheKernelAllows();
    void isNotNeededByWhoToldTheEngineSo();
    void readsTheSwitchesOnlyWhereTheEngineDoes();
    void needsTheEnginesFiles();
    void needsDescriptors_data();
    void needsDescriptors();
    void leavesNoProcessBehind();
};

void EngineStartTest::isNotForTheAdministrator() {
    if (::geteuid() != 0)
        QSKIP("this test needs root");
    QCOMPARE(asked({}), 1);
}

void EngineStartTest::anyoneElseHasItWhereTheKernelAllows() {
    const bool administrator = ::geteuid() == 0;
    QCOMPARE(asked({}, administrator), kernelAllows(administrator) ? 0 : 1);
}

void EngineStartTest::isNotNeededByWhoToldTheEngineSo() {
    QCOMPARE(asked({QStringLiteral("QTWEBENGINE_DISABLE_SANDBOX=1")}), 0);
    QCOMPARE(asked({QStringLiteral("QTWEBENGINE_CHROMIUM_FLAGS=--disable-gpu --no-sandbox")}), 0);
    const QStringList marked = {QStringLiteral("--webEngineArgs"), QStringLiteral("--no-sandbox")};
    QCOMPARE(asked({}, false, marked), 0);
}

void EngineStartTest::readsTheSwitchesOnlyWhereTheEngineDoes() {
    if (::geteuid() != 0)
        QSKIP("this test needs root, for whom the sandbox never works");
    const QString sandbox = QStringLiteral("--no-sandbox");
    const QString mark = QStringLiteral("--webEngineArgs");
    QCOMPARE(asked({}, false, {sandbox}), 1);
    QCOMPARE(asked({}, false, {sandbox, mark, QStringLiteral("--foo")}), 1);
    QCOMPARE(asked({QStringLiteral("QTWEBENGINE_CHROMIUM_FLAGS=--disable-logging")}, false,
                   {mark, sandbox}),
             1);
}

void EngineStartTest::needsTheEnginesFiles() {
    const QString without = QStringLiteral("QTWEBENGINE_DISABLE_SANDBOX=1");
    QCOMPARE(asked({without, QStringLiteral("QTWEBENGINEPROCESS_PATH=/nonexistent")}), 1);
    QCOMPARE(asked({without, QStringLiteral("QTWEBENGINE_RESOURCES_PATH=/nonexistent")}), 1);
    QTemporaryDir folder;
    QCOMPARE(asked({without, QStringLiteral("QTWEBENGINE_RESOURCES_PATH=") + folder.path()}), 1);
}

void EngineStartTest::needsDescriptors_data() {
    QTest::addColumn<int>("limit");
    QTest::addColumn<int>("opened");
    QTest::addColumn<bool>("enough");
    QTest::newRow("the usual limit") << 1024 << 0 << true;
    QTest::newRow("few") << 64 << 0 << false;
    QTest::newRow("many, but the host has opened most") << 1024 << 950 << false;
    QTest::newRow("many, and the host has opened some") << 1024 << 500 << true;
    QTest::newRow("the host has opened all") << 64 << 1000 << false;
}

void EngineStartTest::needsDescriptors() {
    QFETCH(const int, limit);
    QFETCH(const int, opened);
    const pid_t child = ::fork();
    if (child == 0) {
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
        const auto number = static_cast<rlim_t>(limit);
        const rlimit descriptors{number, number};
        if (::setrlimit(RLIMIT_NOFILE, &descriptors) != 0)
            ::_exit(2);
        for (int i = 0; i < opened && ::dup(STDERR_FILENO) >= 0; ++i) {
        }
        ::_exit(canStartEngine() ? 0 : 1);
    }
    int status = -1;
    QCOMPARE(::waitpid(child, &status, 0), child);
    QVERIFY(WIFEXITED(status));
    QTEST(WEXITSTATUS(status) == 0, "enough");
    QVERIFY(WEXITSTATUS(status) != 2);
}

void EngineStartTest::leavesNoProcessBehind() {
    static_cast<void>(canStartEngine());
    QFile children(QStringLiteral("/proc/thread-self/children"));
    QVERIFY(children.open(QFile::ReadOnly));
    QCOMPARE(children.readAll(), QByteArray());
}

int main(int argc, char *argv[]) {
    const pelorinnews::test::TestHome home;
    const QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().value(1) == QLatin1String("ask"))
        return canStartEngine() ? 0 : 1;
    EngineStartTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "EngineStartTest.moc"
