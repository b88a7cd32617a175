#include "FinderReport.h"
#include "TestHome.h"

#include <QDir>
#include <QFile>
#include <QTest>

namespace pelorinnews::test {

/// End-to-end test: a program in an application folder searches this computer for itself.
///
/// The test copies its own executable into the folder and runs it there with one argument.
class ThisApplicationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void findsItselfAndASecondCopyOnThisComputer();
};

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
    QVERIFY(process.waitForFinished(testPatience));
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
