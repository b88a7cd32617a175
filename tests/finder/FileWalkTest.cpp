#include "TestMain.h"
#include "finder/FileWalk.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace pelorinnews::test {

class FileWalkTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void findsEntriesOfEveryKind();
    void doesNotLookIntoAMatch();
    void followsNoLinks();
    void takesNamesThatAreNoText();
    void passesOverFoldersThatMayNotBeRead();
    void passesOverWhatIsNotThere();
    void survivesATreeDeeperThanAPath();
    void readsBigFolders();
    void stopsAtItsBounds();
    void looksIntoFoldersOfAProgramsName();
    void stopsInTheMiddle();

private:
    void make(const QByteArray &path) { QVERIFY(QDir().mkpath(QFile::decodeName(full(path)))); }
    QByteArray full(const QByteArray &path) const {
        return QFile::encodeName(_folder->path()) + '/' + path;
    }
    std::vector<QByteArray> walk(const QString &pattern) const {
        FileWalk fileWalk(FileNamePattern::like(pattern));
        const std::atomic<bool> stop = false;
        fileWalk.run(QFile::encodeName(_folder->path()), stop);
        std::vector<QByteArray> found = fileWalk.matches();
        std::sort(found.begin(), found.end());
        return found;
    }

    std::unique_ptr<QTemporaryDir> _folder;
};

void FileWalkTest::init() {
    _folder = std::make_unique<QTemporaryDir>();
}

void FileWalkTest::findsEntriesOfEveryKind() {
    make("a/P.app");
    make("b/c/.hidden");
    QFile file(QFile::decodeName(full("b/c/.hidden/P.app")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    make("d");
    QCOMPARE(::symlink("nowhere", full("d/P.app").constData()), 0);
    make("e/p.app");
    make("e/P.app2");
    const std::vector<QByteArray> expected = {full("a/P.app"), full("b/c/.hidden/P.app"),
                                              full("d/P.app")};
    QCOMPARE(walk(QStringLiteral("P.app")), expected);
}

void FileWalkTest::doesNotLookIntoAMatch() {
    make("a/P.app/Contents/P.app");
    QCOMPARE(walk(QStringLiteral("P.app")), std::vector<QByteArray>{full("a/P.app")});
}

void FileWalkTest::followsNoLinks() {
    make("a/P.app");
    QCOMPARE(::symlink("..", full("a/up").constData()), 0);
    QCOMPARE(::symlink("a", full("b").constData()), 0);
    QCOMPARE(walk(QStringLiteral("P.app")), std::vector<QByteArray>{full("a/P.app")});
}

void FileWalkTest::takesNamesThatAreNoText() {
    for (const char *name : {"\xFF\xFE", "two\nlines", "per%20cent", " "}) {
        QCOMPARE(::mkdir(full(name).constData(), 0700), 0);
        QCOMPARE(::mkdir((full(name) + "/P.app").constData(), 0700), 0);
    }
    QCOMPARE(walk(QStringLiteral("P.app")).size(), std::size_t(4));
    QCOMPARE(walk(QStringLiteral("??")), std::vector<QByteArray>{full("\xFF\xFE")});
    ::rmdir((full("\xFF\xFE") + "/P.app").constData());
    ::rmdir(full("\xFF\xFE").constData());
}

void FileWalkTest::passesOverFoldersThatMayNotBeRead() {
    if (::geteuid() == 0)
        QSKIP("root may read every folder");
    make("a/P.app");
    make("b/P.app");
    QCOMPARE(::chmod(full("a").constData(), 0), 0);
    QCOMPARE(walk(QStringLiteral("P.app")), std::vector<QByteArray>{full("b/P.app")});
    QCOMPARE(::chmod(full("a").constData(), 0700), 0);
}

void FileWalkTest::passesOverWhatIsNotThere() {
    QVERIFY(_folder->remove());
    QVERIFY(walk(QStringLiteral("*")).empty());
}

void FileWalkTest::survivesATreeDeeperThanAPath() {
    // 300 nested folders with names of 20 bytes: their path is longer than a system call accepts
    // (PATH_MAX).
    FileDescriptor deepest(::open(_folder->path().toUtf8().constData(), O_RDONLY | O_DIRECTORY));
    const char *const name = "a-folder-in-a-folder";
    for (int depth = 0; depth < 300; ++depth) {
        QCOMPARE(::mkdirat(deepest.get(), name, 0700), 0);
        deepest = FileDescriptor(::openat(deepest.get(), name, O_RDONLY | O_DIRECTORY));
    }
    make("z/P.app");
    QCOMPARE(walk(QStringLiteral("P.app")), std::vector<QByteArray>{full("z/P.app")});
    QCOMPARE(QProcess::execute(QStringLiteral("rm"), {QStringLiteral("-r"), _folder->path()}), 0);
}

void FileWalkTest::readsBigFolders() {
    for (int i = 0; i < 5000; ++i)
        QCOMPARE(::mkdir(full("a-folder-among-many-" + QByteArray::number(i)).constData(), 0700),
                 0);
    QCOMPARE(walk(QStringLiteral("*-4999")).size(), std::size_t(1));
    FileWalk fileWalk(FileNamePattern::like(QStringLiteral("P.app")));
    const std::atomic<bool> stop = false;
    fileWalk.run(QFile::encodeName(_folder->path()), stop);
    QCOMPARE(fileWalk.entryCount(), quint64(5000));
}

void FileWalkTest::stopsAtItsBounds() {
    for (int i = 0; i < 20; ++i)
        make("folder-" + QByteArray::number(i) + "/P.app");
    const std::atomic<bool> stop = false;
    const QByteArray top = QFile::encodeName(_folder->path());
    const auto run = [&](const FileWalk::Bounds &bounds, std::size_t *matches = nullptr) {
        FileWalk fileWalk(FileNamePattern::like(QStringLiteral("P.app")));
        const bool isDone = fileWalk.run(top, stop, bounds);
        // The bounds limit each run separately, not both runs together.
        const bool isDoneAgain = fileWalk.run(top, stop, bounds);
        if (matches)
            *matches = fileWalk.matches().size();
        return isDone && isDoneAgain;
    };
    std::size_t matches = 0;
    QVERIFY(run({.entries = 40}, &matches));
    QCOMPARE(matches, std::size_t(40));
    QVERIFY(!run({.entries = 39}));
    QVERIFY(!run({.entries = 20}, &matches));
    // A walk that reaches its bound still finishes the batch of entries that the kernel has
    // returned, and stops before the next folder.
    QCOMPARE(matches, std::size_t(2));
    QVERIFY(!run({.time = std::chrono::milliseconds(0)}));
    QVERIFY(run({.time = std::chrono::hours(1)}));
}

void FileWalkTest::looksIntoFoldersOfAProgramsName() {
    make("usr/share/pelorin/bin/x/pelorin");
    FileWalk fileWalk(EntryPattern(FileNamePattern::like(QStringLiteral("pelorin")),
                                   EntryPattern::Kind::Program));
    const std::atomic<bool> stop = false;
    QFile file(QFile::decodeName(full("usr/share/pelorin/bin/pelorin")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(fileWalk.run(QFile::encodeName(_folder->path()), stop));
    QCOMPARE(fileWalk.matches(), std::vector<QByteArray>{full("usr/share/pelorin/bin/pelorin")});
}

void FileWalkTest::stopsInTheMiddle() {
    for (int i = 0; i < 5000; ++i)
        QCOMPARE(::mkdir(full(QByteArray::number(i)).constData(), 0700), 0);
    // How long a walk takes is unknown: each round stops its walk a little later than the round
    // before, until a walk is stopped in the middle. On a busy computer no round of the first 200
    // may do so: then they begin again.
    bool wasInTheMiddle = false;
    const QDeadlineTimer deadline(testPatience);
    for (int round = 0; !wasInTheMiddle && !deadline.hasExpired(); round = (round + 1) % 200) {
        FileWalk fileWalk(FileNamePattern::like(QStringLiteral("P.app")));
        std::atomic<bool> stop = false;
        std::thread stopper([&] {
            std::this_thread::sleep_for(std::chrono::microseconds(50 * round));
            stop = true;
        });
        const bool isWhole = fileWalk.run(QFile::encodeName(_folder->path()), stop);
        stopper.join();
        wasInTheMiddle = !isWhole && fileWalk.entryCount() > 0 && fileWalk.entryCount() < 5000;
    }
    QVERIFY(wasInTheMiddle);
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::FileWalkTest)
#include "FileWalkTest.moc"
