#include "HostBundle.h"
#include "OlvPelorinFinder.h"
#include "SearchThreads.h"
#include "TestHome.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSocketNotifier>
#include <QTest>

#include <cstdio>
#include <unistd.h>

namespace pelorinnews::test {

/// The whole way: a program in an application folder looks for itself on this computer.
///
/// The test copies its own executable into the folder and runs it there with one argument; there
/// it prints a line for each result of the finder and ends when its standard input does.
class ThisApplicationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void findsItselfAndASecondCopyOnThisComputer();
};

namespace {

constexpr int patienceMilliseconds = 100000;

int reportResults(int argc, char *argv[]) {
    const QCoreApplication application(argc, argv);
    const HurriedWalks hurriedWalks;
    std::printf("%s\n", qPrintable(HostBundle::mainBundle().name()));
    const auto finder = OlvPelorinFinder::init();
    int reported = 0;
    QTimer timer;
    timer.callOnTimeout([&] {
        if (finder->result() == reported)
            return;
        reported = finder->result();
        std::printf("%d\n", reported);
        std::fflush(stdout);
    });
    timer.start(10);
    QSocketNotifier ended(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&ended, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
    return QCoreApplication::exec();
}

QByteArray nextLine(QProcess &process) {
    while (!process.canReadLine()) {
        if (!process.waitForReadyRead(patienceMilliseconds))
            return "nothing";
    }
    return process.readLine().trimmed();
}

}  // namespace

void ThisApplicationTest::findsItselfAndASecondCopyOnThisComputer() {
    const QString name = QStringLiteral("PelorinTest%1.app").arg(::getpid());
    const QDir home(QDir::homePath());
    const QDir folder(home.filePath(QStringLiteral("maker/") + name));
    QVERIFY(folder.mkpath(QStringLiteral("bin")));
    const QString executable = folder.filePath(QStringLiteral("bin/program"));
    QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), executable));

    QProcess process;
    process.start(executable, {QStringLiteral("--report")});
    QCOMPARE(nextLine(process), name.toUtf8());
    QCOMPARE(nextLine(process), QByteArray("1"));
    QCOMPARE(nextLine(process), QByteArray("3"));
    const QDir copy(home.filePath(QStringLiteral("maker/copy/") + name));
    QVERIFY(copy.mkpath(QStringLiteral(".")));
    QCOMPARE(nextLine(process), QByteArray("4"));
    QVERIFY(QDir(copy).removeRecursively());
    QCOMPARE(nextLine(process), QByteArray("3"));
    process.closeWriteChannel();
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 0);
}

}  // namespace pelorinnews::test

int main(int argc, char *argv[]) {
    if (argc > 1 && qstrcmp(argv[1], "--report") == 0)
        return pelorinnews::test::reportResults(argc, argv);
    const pelorinnews::test::TestHome home;
    const QCoreApplication application(argc, argv);
    pelorinnews::test::ThisApplicationTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "ThisApplicationTest.moc"
