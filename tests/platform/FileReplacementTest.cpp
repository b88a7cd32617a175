#include "SmallDisk.h"
#include "SpecialFile.h"
#include "TestMain.h"
#include "platform/FileReplacement.h"
#include "platform/RegularFile.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include <csignal>
#include <ctime>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

namespace pelorinnews::test {

namespace {

/// With this argument and a path, this program begins to replace the file and is killed in the
/// middle.
const QString killedArgument = QStringLiteral("--killed-while-replacing");

int dieWhileReplacing(const QString &path) {
    FileReplacement file(path);
    for (int piece = 0; piece < 10; ++piece)
        file.write(QByteArray(10'000, 'x'));
    return ::raise(SIGKILL);
}

QByteArray contents(const QString &path) {
    Error error;
    return RegularFile::contents(path, 1'000'000, &error).value_or(QByteArray());
}

bool put(const QString &path, const QByteArray &bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

bool replace(const QString &path, const QByteArray &bytes) {
    FileReplacement file(path);
    file.write(bytes);
    return file.commit().has_value();
}

}  // namespace

class FileReplacementTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        _folder = std::make_unique<QTemporaryDir>();
        QVERIFY(_folder->isValid());
    }

    void replacesTheWholeFile();
    void leavesTheFileWithoutACommit();
    void keepsThePermissionsOfTheReplacedFile();
    void aNewFileHasThePermissionsOfTheProcess();
    void permissionsThatAreAskedForReplaceTheEarlierOnes();
    void aRelativePathIsInTheCurrentFolder();
    void followsAChainOfLinks();
    void replacesNothingThatIsNoRegularFile_data();
    void replacesNothingThatIsNoRegularFile();
    void replacesNothingThatCameMeanwhile();
    void survivesTheLimitOfFileSizes_data();
    void survivesTheLimitOfFileSizes();
    void leavesASignalOfTheHostsPending();
    void readsNoMoreThanAsked();
    void severalWritersLeaveOneWholeFile();
    void whatAKilledProcessLeftIsRemovedAnHourLater();
    void othersFilesStay();
    void reservesOnlyWhatHasRoom();

private:
    [[nodiscard]] QString path(const char *name = "file") const {
        return _folder->filePath(QLatin1String(name));
    }
    [[nodiscard]] QStringList names() const {
        return QDir(_folder->path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

    std::unique_ptr<QTemporaryDir> _folder;
};

void FileReplacementTest::replacesTheWholeFile() {
    QVERIFY(put(path(), "a longer text than the new one"));
    FileReplacement file(path());
    QVERIFY(file.write("ne"));
    QVERIFY(file.write("w"));
    QCOMPARE(contents(path()), QByteArray("a longer text than the new one"));
    const auto stamp = file.commit();
    QVERIFY(stamp);
    QVERIFY(!file.error());
    QCOMPARE(contents(path()), QByteArray("new"));
    QCOMPARE(names(), QStringList{"file"});
    Error error;
    QCOMPARE(RegularFile::open(path(), &error)->stamp(), *stamp);
}

void FileReplacementTest::leavesTheFileWithoutACommit() {
    QVERIFY(put(path(), "old"));
    { QVERIFY(FileReplacement(path()).write("new")); }
    QCOMPARE(contents(path()), QByteArray("old"));
    QCOMPARE(names(), QStringList{"file"});
}

void FileReplacementTest::keepsThePermissionsOfTheReplacedFile() {
    QVERIFY(put(path(), "old"));
    QCOMPARE(::chmod(path().toUtf8().constData(), 0640), 0);
    QVERIFY(replace(path(), "new"));
    struct stat status {};
    QCOMPARE(::stat(path().toUtf8().constData(), &status), 0);
    QCOMPARE(status.st_mode & 07777U, 0640U);
}

void FileReplacementTest::aNewFileHasThePermissionsOfTheProcess() {
    const mode_t before = ::umask(0027);
    QVERIFY(replace(path(), "new"));
    ::umask(before);
    struct stat status {};
    QCOMPARE(::stat(path().toUtf8().constData(), &status), 0);
    QCOMPARE(status.st_mode & 07777U, 0640U);
}

void FileReplacementTest::permissionsThatAreAskedForReplaceTheEarlierOnes() {
    QVERIFY(put(path(), "old"));
    QCOMPARE(::chmod(path().toUtf8().constData(), 0666), 0);
    FileReplacement file(path());
    file.setPermissions(S_IRUSR | S_IWUSR);
    QVERIFY(file.write("new"));
    QVERIFY(file.commit());
    struct stat status {};
    QCOMPARE(::stat(path().toUtf8().constData(), &status), 0);
    QCOMPARE(status.st_mode & 07777U, 0600U);
}

void FileReplacementTest::aRelativePathIsInTheCurrentFolder() {
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(_folder->path()));
    const bool replaced = replace(QStringLiteral("file"), "new");
    QDir::setCurrent(before);
    QVERIFY(replaced);
    QCOMPARE(contents(path()), QByteArray("new"));
}

void FileReplacementTest::followsAChainOfLinks() {
    QVERIFY(QDir(_folder->path()).mkdir(QStringLiteral("elsewhere")));
    QVERIFY(QFile::link(QStringLiteral("elsewhere/second"), path()));
    QVERIFY(QFile::link(QStringLiteral("../third"), path("elsewhere/second")));
    QVERIFY(QFile::link(path("target"), path("third")));
    for (const QByteArray text : {"made", "replaced"}) {
        QVERIFY(replace(path(), text));
        QCOMPARE(contents(path("target")), text);
        QCOMPARE(contents(path()), text);
        QCOMPARE(names(), QStringList({"elsewhere", "file", "target", "third"}));
        QCOMPARE(QFile::symLinkTarget(path()), path("elsewhere/second"));
    }
}

void FileReplacementTest::replacesNothingThatIsNoRegularFile_data() {
    QTest::addColumn<QString>("kind");
    const QStringList kinds = SpecialFile::kinds();
    for (const QString &kind : kinds)
        QTest::newRow(qPrintable(kind)) << kind;
}

void FileReplacementTest::replacesNothingThatIsNoRegularFile() {
    QFETCH(QString, kind);
    const SpecialFile special(kind, path());
    if (!special.whyNot().isEmpty())
        QSKIP(qPrintable(special.whyNot()));
    const QStringList before = names();
    FileReplacement file(path());
    QVERIFY(file.error());
    QVERIFY(!file.write("new"));
    QVERIFY(!file.commit());
    QCOMPARE(file.error()->domain, QStringLiteral("QFileDevice"));
    Error error;
    QVERIFY(!RegularFile::open(path(), &error));
    QVERIFY(!error.description().isEmpty());
    QVERIFY(!RegularFile::isRegularOrAbsent(path()));
    QCOMPARE(special.harm(), QString());
    QCOMPARE(names(), before);
}

void FileReplacementTest::replacesNothingThatCameMeanwhile() {
    FileReplacement file(path());
    QVERIFY(file.write("new"));
    const SpecialFile special(QStringLiteral("pipe"), path());
    QVERIFY(!file.commit());
    QVERIFY(file.error());
    QCOMPARE(special.harm(), QString());
}

void FileReplacementTest::survivesTheLimitOfFileSizes_data() {
    QTest::addColumn<bool>("reserves");
    QTest::newRow("writes") << false;
    QTest::newRow("reserves") << true;
}

// The signal that comes with it ends a process that does nothing about it, as this test does not.
void FileReplacementTest::survivesTheLimitOfFileSizes() {
    QFETCH(const bool, reserves);
    QVERIFY(put(path(), "before"));
    rlimit before{};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small{100'000, before.rlim_max};
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
    {
        FileReplacement file(path());
        QVERIFY(!(reserves ? file.reserve(100'001) : file.write(QByteArray(100'001, 'x'))));
        QVERIFY(file.error());
        QCOMPARE(file.error()->code, int(QFileDevice::ResourceError));
        QVERIFY(!file.commit());
    }
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &before), 0);
    QCOMPARE(contents(path()), QByteArray("before"));
}

void FileReplacementTest::leavesASignalOfTheHostsPending() {
    sigset_t signals{};
    sigset_t before{};
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGXFSZ);
    QCOMPARE(::pthread_sigmask(SIG_BLOCK, &signals, &before), 0);
    QCOMPARE(::raise(SIGXFSZ), 0);
    QVERIFY(replace(path(), "contents"));
    const timespec now{};
    QCOMPARE(::sigtimedwait(&signals, nullptr, &now), SIGXFSZ);
    QVERIFY(replace(path(), "contents"));
    sigset_t blocked{};
    QCOMPARE(::pthread_sigmask(SIG_SETMASK, &before, &blocked), 0);
    QCOMPARE(::sigismember(&blocked, SIGXFSZ), 1);
}

void FileReplacementTest::readsNoMoreThanAsked() {
    QVERIFY(put(path(), "12345"));
    Error error;
    QCOMPARE(RegularFile::contents(path(), 5, &error), std::optional(QByteArray("12345")));
    QVERIFY(!RegularFile::contents(path(), 4, &error));
    QCOMPARE(error.code, int(QFileDevice::ResourceError));
    QVERIFY(put(path(), ""));
    QCOMPARE(RegularFile::contents(path(), 4, &error), std::optional(QByteArray()));
}

void FileReplacementTest::severalWritersLeaveOneWholeFile() {
    const auto write = [this](char letter) {
        for (int round = 0; round < 20; ++round)
            QVERIFY(replace(path(), QByteArray(50'000, letter)));
    };
    std::thread other(write, 'b');
    write('a');
    other.join();
    const QByteArray left = contents(path());
    QCOMPARE(left, QByteArray(50'000, left.isEmpty() ? ' ' : left.front()));
    QCOMPARE(names(), QStringList{"file"});
}

void FileReplacementTest::whatAKilledProcessLeftIsRemovedAnHourLater() {
    QVERIFY(put(path(), "old"));
    QProcess killed;
    killed.start(QCoreApplication::applicationFilePath(), {killedArgument, path()});
    QVERIFY(killed.waitForFinished(testPatience));
    QCOMPARE(killed.exitStatus(), QProcess::CrashExit);
    QCOMPARE(contents(path()), QByteArray("old"));
    QCOMPARE(names().size(), 2);
    const QString left = names().last();

    // A recent temporary file stays, because another process may be writing it.
    QVERIFY(replace(path(), "new"));
    QVERIFY(names().contains(left));

    const QString now = left.section(QLatin1Char('-'), 1, 1);
    QVERIFY(qAbs(now.toLongLong() - std::time(nullptr)) < 600);
    for (const qint64 shift : {-3700, 3700}) {
        QString old = left;
        old.replace(now, QString::number(now.toLongLong() + shift));
        QVERIFY(QFile::copy(path(left.toLatin1().constData()), path(old.toLatin1().constData())));
        QVERIFY(replace(path(), "newer"));
        QVERIFY2(!names().contains(old), qPrintable(old));
    }
}

void FileReplacementTest::othersFilesStay() {
    const QStringList others{"file.backup",         "file.tmp",
                             "file.tmp-",           "file.tmp-1000",
                             "file.tmp-1000-notes", "file.tmp-older-1234",
                             "other.tmp-1000-1234"};
    for (const QString &other : others)
        QVERIFY(put(path(other.toLatin1().constData()), "theirs"));
    QVERIFY(put(path("file.tmp-1000-1234"), "ours"));
    QVERIFY(replace(path(), "new"));
    QCOMPARE(names(), QStringList{"file"} + others);
}

void FileReplacementTest::reservesOnlyWhatHasRoom() {
    if (!SmallDisk::whyNot().isEmpty())
        QSKIP(qPrintable(SmallDisk::whyNot()));
    const SmallDisk disk(_folder->path());
    QVERIFY(disk.isMounted());
    disk.leaveRoom(2 * SmallDisk::block);
    {
        FileReplacement file(path());
        QVERIFY(file.reserve(0));
        QVERIFY(file.reserve(2 * SmallDisk::block));
        QVERIFY(!file.reserve(2 * SmallDisk::block + 1));
        QCOMPARE(file.error()->code, int(QFileDevice::ResourceError));
    }
    QCOMPARE(disk.room(), 2 * SmallDisk::block);
}

}  // namespace pelorinnews::test

int main(int argc, char *argv[]) {
    using namespace pelorinnews::test;
    if (argc == 3 && killedArgument == QLatin1String(argv[1]))
        return dieWhileReplacing(QString::fromLocal8Bit(argv[2]));
    enterOwnMounts();
    const TestHome home;
    const QCoreApplication application(argc, argv);
    FileReplacementTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "FileReplacementTest.moc"
