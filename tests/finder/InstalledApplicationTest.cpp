// Tests programs as packages install them: system-wide, in a sandbox, or as one file (AppImage).
// Each program searches this computer for copies of itself. Launchers and data files with its name
// also exist, and must not count.

#include "FinderReport.h"
#include "Mounts.h"
#include "TestHome.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <sys/stat.h>

namespace pelorinnews::test {

namespace {

void write(const QString &path, const QByteArray &text, mode_t mode) {
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(text), text.size());
    file.close();
    QCOMPARE(::chmod(QFile::encodeName(path).constData(), mode), 0);
}

void install(const QString &path) {
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), path));
}

/// Creates launchers for `program` and a link to it in the home folder `home`.
void surround(const QString &home, const QString &program) {
    const QString name = QFileInfo(program).fileName();
    for (const char *place : {".config/autostart", "Desktop", ".local/share/applications"})
        write(home + QLatin1Char('/') + QLatin1String(place) + QLatin1Char('/') + name +
                  QStringLiteral(".desktop"),
              "[Desktop Entry]\nType=Application\nExec=" + program.toUtf8() + '\n', 0755);
    QVERIFY(QFile::link(program, home + QStringLiteral("/Desktop/") + name));
}

void surroundWithData(const QString &home, const QString &program) {
    const QString name = QFileInfo(program).fileName();
    write(home + QStringLiteral("/.local/bin/") + name,
          "#!/bin/sh\nexec " + program.toUtf8() + '\n', 0755);
    write(home + QStringLiteral("/.config/default/") + name, "quiet=yes\n", 0644);
    for (const char *place : {".config", ".cache", ".local/share"})
        QVERIFY(QDir().mkpath(home + QLatin1Char('/') + QLatin1String(place) + QLatin1Char('/') +
                              name));
}

}  // namespace

class InstalledApplicationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void countsAProgramOfTheSystem();
    void countsAProgramInASandboxBelowARootThatIsNoMountPoint();
    void countsAnAppImage();

private:
    QString at(const char *path) const { return _folder->filePath(QLatin1String(path)); }
    void start(const QStringList &command, const QString &home, const QStringList &variables = {});
    /// Creates a second copy of the application at `copy` and removes it again. Expects the
    /// application to report both changes.
    void followsAnotherCopy(const QString &copy);

    const QString _name = QStringLiteral("pelorintest%1").arg(::getpid());
    std::unique_ptr<QTemporaryDir> _folder;
    Mounts _mounts;
    QProcess _process;
};

void InstalledApplicationTest::initTestCase() {
    if (!Mounts::arePermitted())
        QSKIP("mounting is not permitted here");
}

void InstalledApplicationTest::init() {
    _folder = std::make_unique<QTemporaryDir>(QDir::homePath() + QStringLiteral("/test-XXXXXX"));
}

void InstalledApplicationTest::cleanup() {
    _process.closeWriteChannel();
    if (_process.state() != QProcess::NotRunning && !_process.waitForFinished(testPatience))
        _process.kill();
    _process.waitForFinished(testPatience);
    _mounts.clear();
    _folder.reset();
}

void InstalledApplicationTest::start(const QStringList &command, const QString &home,
                                     const QStringList &variables) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), home);
    for (const QString &variable : variables)
        environment.insert(variable.section(QLatin1Char('='), 0, 0),
                           variable.section(QLatin1Char('='), 1));
    _process.setProcessEnvironment(environment);
    _process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    _process.start(command.first(), command.mid(1) + QStringList(QStringLiteral("--report")));
}

void InstalledApplicationTest::followsAnotherCopy(const QString &copy) {
    install(copy);
    QCOMPARE(nextLine(_process), QByteArray("4"));
    QVERIFY(QFile::remove(copy));
    QCOMPARE(nextLine(_process), QByteArray("3"));
}

void InstalledApplicationTest::countsAProgramOfTheSystem() {
    const QString program = QStringLiteral("/usr/local/bin/") + _name;
    install(at("local/bin/") + _name);
    for (const char *data : {"local/share/", "local/lib/", "local/share/doc/"})
        QVERIFY(QDir().mkpath(at(data) + _name));
    QVERIFY(_mounts.bind(at("local"), QStringLiteral("/usr/local")));
    surround(at("home"), program);
    surroundWithData(at("home"), program);

    start({program}, at("home"));
    QCOMPARE(nextLine(_process), _name.toUtf8());
    QCOMPARE(nextLine(_process), QByteArray("1"));
    QCOMPARE(nextLine(_process), QByteArray("3"));
    const QString copy = at("home/Applications/") + _name;
    followsAnotherCopy(copy);
    // A file without its executable bit does not count as a copy.
    install(copy);
    QCOMPARE(nextLine(_process), QByteArray("4"));
    QCOMPARE(::chmod(QFile::encodeName(copy).constData(), 0644), 0);
    QCOMPARE(nextLine(_process), QByteArray("3"));
    QCOMPARE(::chmod(QFile::encodeName(copy).constData(), 0755), 0);
    QCOMPARE(nextLine(_process), QByteArray("4"));
}

void InstalledApplicationTest::countsAProgramInASandboxBelowARootThatIsNoMountPoint() {
    for (const char *place : {"root/usr", "root/proc", "root/home/user"})
        QVERIFY(QDir().mkpath(at(place)));
    QVERIFY(_mounts.bind(QStringLiteral("/usr"), at("root/usr")));
    QVERIFY(_mounts.bind(QStringLiteral("/proc"), at("root/proc")));
    for (const char *shared : {"bin", "lib", "lib64"})
        QVERIFY(QFile::link(QStringLiteral("usr/") + QLatin1String(shared),
                            at("root/") + QLatin1String(shared)));
    const QString program = QStringLiteral("/app/bin/") + _name;
    install(at("root") + program);
    QVERIFY(QDir().mkpath(at("root/app/share/") + _name));
    surround(at("root/home/user"), program);
    surroundWithData(at("root/home/user"), program);

    // TSAN_OPTIONS names a file of suppressions, which is outside the new root.
    start({QStringLiteral("chroot"), at("root"), QStringLiteral("env"), QStringLiteral("-u"),
           QStringLiteral("TSAN_OPTIONS"), program},
          QStringLiteral("/home/user"));
    QCOMPARE(nextLine(_process), _name.toUtf8());
    QCOMPARE(nextLine(_process), QByteArray("1"));
    QCOMPARE(nextLine(_process), QByteArray("3"));
    followsAnotherCopy(at("root/home/user/Applications/") + _name);
}

void InstalledApplicationTest::countsAnAppImage() {
    if (!Mounts::hasFuse())
        QSKIP("FUSE is not available");
    const QString image = at("home/Downloads/") + _name + QStringLiteral("-5.AppImage");
    write(image,
          "\x7f"
          "ELF",
          0755);
    install(at("content/usr/bin/pelorin"));
    QVERIFY(QDir().mkpath(at(".mount_Pelorin")));
    QVERIFY(_mounts.fuse(at("content"), at(".mount_Pelorin")));
    surround(at("home"), image);

    start({at(".mount_Pelorin/usr/bin/pelorin")}, at("home"),
          {QStringLiteral("APPIMAGE=") + image, QStringLiteral("APPDIR=") + at(".mount_Pelorin")});
    QCOMPARE(nextLine(_process), QFileInfo(image).fileName().toUtf8());
    QCOMPARE(nextLine(_process), QByteArray("1"));
    QCOMPARE(nextLine(_process), QByteArray("3"));
    followsAnotherCopy(at("home/Applications/") + QFileInfo(image).fileName());
}

}  // namespace pelorinnews::test

int main(int argc, char *argv[]) {
    if (argc > 1 && qstrcmp(argv[1], "--report") == 0)
        return pelorinnews::test::reportResults(argc, argv);
    pelorinnews::test::Mounts::enterNamespace();
    const pelorinnews::test::TestHome home;
    const QCoreApplication application(argc, argv);
    pelorinnews::test::InstalledApplicationTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "InstalledApplicationTest.moc"
