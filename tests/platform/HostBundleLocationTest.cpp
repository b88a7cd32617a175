#include "TestMain.h"
#include "platform/HostBundle.h"
#include "platform/HostBundleLocation.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace pelorinnews::test {

class HostBundleLocationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isTheExecutablesFolderWithoutTheUsualFolders_data();
    void isTheExecutablesFolderWithoutTheUsualFolders();
    void isTheAppImageFileWhenRunFromOne();
    void isNotAnAppImageThatThisProgramDoesNotLieIn();
    void isTheExecutableAmongTheSystems_data();
    void isTheExecutableAmongTheSystems();
    void isNullWhereTheExecutableIsUnknown();
    void isThisTestsFolder();
};

namespace {

void touch(const QString &path) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
}

}  // namespace

void HostBundleLocationTest::isTheExecutablesFolderWithoutTheUsualFolders_data() {
    QTest::addColumn<QString>("executable");
    QTest::addColumn<QString>("location");
    const auto row = [](const char *executable, const char *location) {
        QTest::newRow(executable) << QString::fromUtf8(executable) << QString::fromUtf8(location);
    };
    row("/opt/Pelorin.app/pelorin", "/opt/Pelorin.app");
    row("/opt/Pelorin.app/bin/pelorin", "/opt/Pelorin.app");
    row("/opt/Pelorin.app/lib/pelorin", "/opt/Pelorin.app");
    row("/opt/Pelorin.app/lib64/pelorin", "/opt/Pelorin.app");
    row("/opt/Pelorin.app/libexec/pelorin", "/opt/Pelorin.app");
    row("/opt/Pelorin.app/usr/bin/pelorin", "/opt/Pelorin.app");
    row("/opt/Pelorin.app/usr/pelorin", "/opt/Pelorin.app");
    row("/opt/libretto/bin/pelorin", "/opt/libretto");
    row("/opt/Pelorin.app/binary/pelorin", "/opt/Pelorin.app/binary");
    row("/home/u/P\xC3\xA9lorin app/bin/p", "/home/u/P\xC3\xA9lorin app");
    row("/opt/bin/pelorin", "/opt");
    row("/srv/usr/bin/pelorin", "/srv");
    row("/application/bin/pelorin", "/application");
}

void HostBundleLocationTest::isTheExecutablesFolderWithoutTheUsualFolders() {
    QFETCH(QString, executable);
    QFETCH(QString, location);
    HostProcess process;
    process.executable = executable;
    QCOMPARE(hostBundleLocation(process), location);
}

void HostBundleLocationTest::isTheAppImageFileWhenRunFromOne() {
    const QTemporaryDir folder;
    HostProcess process;
    process.appImage = folder.filePath(QStringLiteral("Pelorin-5.AppImage"));
    process.appDir = folder.filePath(QStringLiteral("mount"));
    process.executable = process.appDir + QStringLiteral("/usr/bin/pelorin");
    touch(process.appImage);
    touch(process.executable);
    QCOMPARE(hostBundleLocation(process), process.appImage);
    process.appDir.clear();
    QCOMPARE(hostBundleLocation(process), process.appImage);
}

void HostBundleLocationTest::isNotAnAppImageThatThisProgramDoesNotLieIn() {
    const QTemporaryDir folder;
    HostProcess process;
    process.executable = QStringLiteral("/opt/Pelorin.app/bin/pelorin");
    process.appImage = folder.filePath(QStringLiteral("Launcher.AppImage"));
    process.appDir = folder.path();
    QCOMPARE(hostBundleLocation(process), QStringLiteral("/opt/Pelorin.app"));
    touch(process.appImage);
    QCOMPARE(hostBundleLocation(process), QStringLiteral("/opt/Pelorin.app"));
    process.appDir.clear();
    process.appImage = QStringLiteral("Launcher.AppImage");
    QCOMPARE(hostBundleLocation(process), QStringLiteral("/opt/Pelorin.app"));
}

void HostBundleLocationTest::isTheExecutableAmongTheSystems_data() {
    QTest::addColumn<QString>("executable");
    for (const char *executable :
         {"/usr/bin/pelorin", "/usr/local/bin/pelorin", "/bin/pelorin", "/usr/lib/pelorin",
          "/usr/lib/pelorin/pelorin", "/usr/libexec/pelorin", "/usr/games/pelorin", "/usr/pelorin",
          "/usr/local/pelorin/bin/pelorin", "/pelorin", "/app/bin/pelorin", "/app/pelorin/pelorin"})
        QTest::newRow(executable) << QString::fromLatin1(executable);
}

void HostBundleLocationTest::isTheExecutableAmongTheSystems() {
    QFETCH(QString, executable);
    HostProcess process;
    process.executable = executable;
    QCOMPARE(hostBundleLocation(process), executable);
}

void HostBundleLocationTest::isNullWhereTheExecutableIsUnknown() {
    QVERIFY(hostBundleLocation({}).isNull());
}

void HostBundleLocationTest::isThisTestsFolder() {
    const HostBundle bundle = HostBundle::mainBundle();
    const QString folder = QCoreApplication::applicationDirPath();
    QCOMPARE(bundle.location(), folder);
    QCOMPARE(bundle.name(), QDir(folder).dirName());
    QCOMPARE(bundle.copies().kind(), EntryPattern::Kind::Any);
    QVERIFY(bundle.copies().mayMatch(QDir(folder).dirName().toStdString(), true));
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::HostBundleLocationTest)
#include "HostBundleLocationTest.moc"
