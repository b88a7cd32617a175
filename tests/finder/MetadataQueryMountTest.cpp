#include "MountTestMain.h"
#include "WatchedQuery.h"

#include <QDir>
#include <QTemporaryDir>

#include <cstdlib>
#include <sys/mount.h>
#include <sys/stat.h>

namespace pelorinnews::test {

namespace {
const QString name = QStringLiteral("Pelorin.app");
}  // namespace

/// Tests a query while file systems are mounted and unmounted, in this process's own mount
/// namespace.
class MetadataQueryMountTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void walksADiskThatIsMounted();
    void losesADiskThatIsUnmounted();
    void seesWhatAMountHadCovered();
    void countsADiskMountedTwiceOnce();
    void walksNoFileSystemOfTheKernels();
    void searchesTheWholeComputersDisks();

private:
    QByteArray at(const char *path) const {
        return QFile::encodeName(_folder->filePath(QLatin1String(path)));
    }
    void make(const char *path) { QVERIFY(QDir().mkpath(QFile::decodeName(at(path)))); }
    void mountDisk(const char *path) {
        QCOMPARE(::mount("none", at(path).constData(), "tmpfs", 0, nullptr), 0);
        _mounted.push_back(at(path));
    }
    void unmountLast() {
        QCOMPARE(::umount2(_mounted.back().constData(), MNT_DETACH), 0);
        _mounted.pop_back();
    }

    std::unique_ptr<QTemporaryDir> _folder;
    std::vector<QByteArray> _mounted;
};

#define GATHER(watched)                    \
    QVERIFY((watched).query.startQuery()); \
    QTRY_COMPARE((watched).gathered, 1)

void MetadataQueryMountTest::initTestCase() {
    if (!Mounts::arePermitted())
        QSKIP("mounting is not permitted here");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
}

void MetadataQueryMountTest::init() {
    _folder = std::make_unique<QTemporaryDir>(QDir::homePath() + QStringLiteral("/disk-XXXXXX"));
    make("disk");
    make("other");
}

void MetadataQueryMountTest::cleanup() {
    while (!_mounted.empty())
        unmountLast();
    _folder.reset();
}

void MetadataQueryMountTest::walksADiskThatIsMounted() {
    make("searched/disk");
    make("searched/home/Pelorin.app");
    WatchedQuery watched(name, {_folder->filePath(QStringLiteral("searched"))});
    GATHER(watched);
    QCOMPARE(watched.query.resultCount(), 1);
    // The disk is mounted and filled outside of the searched folder, and then moved into it:
    // otherwise a walk could run before the disk's folders exist.
    mountDisk("other");
    make("other/a/b/c/Pelorin.app");
    QCOMPARE(::mount(at("other").constData(), at("searched/disk").constData(), nullptr, MS_MOVE,
                     nullptr),
             0);
    _mounted.back() = at("searched/disk");
    QTRY_COMPARE(watched.query.results(),
                 QStringList({QFile::decodeName(at("searched/disk/a/b/c/Pelorin.app")),
                              QFile::decodeName(at("searched/home/Pelorin.app"))}));
}

void MetadataQueryMountTest::losesADiskThatIsUnmounted() {
    mountDisk("disk");
    make("disk/a/b/c/Pelorin.app");
    WatchedQuery watched(name, {_folder->path()});
    GATHER(watched);
    QCOMPARE(watched.query.resultCount(), 1);
    unmountLast();
    QTRY_COMPARE(watched.query.resultCount(), 0);
}

void MetadataQueryMountTest::seesWhatAMountHadCovered() {
    make("disk/a/b/c/Pelorin.app");
    mountDisk("disk");
    WatchedQuery watched(name, {_folder->path()});
    GATHER(watched);
    QCOMPARE(watched.query.resultCount(), 0);
    unmountLast();
    QTRY_COMPARE(watched.query.resultCount(), 1);
    mountDisk("disk");
    QTRY_COMPARE(watched.query.resultCount(), 0);
}

void MetadataQueryMountTest::countsADiskMountedTwiceOnce() {
    mountDisk("disk");
    make("disk/a/Pelorin.app");
    QCOMPARE(::mount(at("disk").constData(), at("other").constData(), nullptr, MS_BIND, nullptr),
             0);
    _mounted.push_back(at("other"));
    WatchedQuery watched(name, {_folder->path()});
    GATHER(watched);
    QCOMPARE(watched.query.results(), QStringList(QFile::decodeName(at("disk/a/Pelorin.app"))));
}

void MetadataQueryMountTest::walksNoFileSystemOfTheKernels() {
    QCOMPARE(::mount("none", at("disk").constData(), "proc", 0, nullptr), 0);
    _mounted.push_back(at("disk"));
    WatchedQuery watched(QStringLiteral("cmdline"), {_folder->path()});
    GATHER(watched);
    QCOMPARE(watched.query.resultCount(), 0);
}

void MetadataQueryMountTest::searchesTheWholeComputersDisks() {
    const QString unique = QStringLiteral("pelorin-test-%1.app").arg(::getpid());
    make("a");
    QVERIFY(QDir(QFile::decodeName(at("a"))).mkdir(unique));
    mountDisk("disk");
    QVERIFY(QDir(QFile::decodeName(at("disk"))).mkdir(unique));
    WatchedQuery watched(unique, {SearchScope::localComputer()});
    GATHER(watched);
    QCOMPARE(watched.query.results(),
             QStringList({_folder->filePath(QStringLiteral("a/") + unique),
                          _folder->filePath(QStringLiteral("disk/") + unique)}));
}

}  // namespace pelorinnews::test

PELORIN_MOUNT_TEST_MAIN(pelorinnews::test::MetadataQueryMountTest)
#include "MetadataQueryMountTest.moc"
