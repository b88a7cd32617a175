#include "TestMain.h"
#include "finder/MountTable.h"

#include <QDir>
#include <QTemporaryDir>

#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace pelorinnews::test {

class MountTableTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void knowsLocalFileSystems_data();
    void knowsLocalFileSystems();
    void knowsTheFoldersBehindAMount_data();
    void knowsTheFoldersBehindAMount();
    void searchesEachFileSystemOnce();
    void searchesAHomeThatIsMountedTwiceOnce();
    void passesOverAMountThatAnotherCovers();
    void readsNamesWithSpaces();
    void keepsABackslashThatBeginsNoEscape();
    void findsTheMountOfAPath();
    void knowsAMountAgain_data();
    void knowsAMountAgain();
    void leavesOutLinesThatAreNotWhole();
    void readsTheTableOfThisProcess();
    void knowsARootThatIsNoMountPoint_data();
    void knowsARootThatIsNoMountPoint();
};

namespace {

QStringList localPoints(const MountTable &table) {
    QStringList points;
    for (const MountTable::Mount &mount : table.mounts()) {
        if (mount.local)
            points << QString::fromUtf8(mount.mountPoint);
    }
    return points;
}

}  // namespace

void MountTableTest::knowsLocalFileSystems_data() {
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<bool>("local");
    QTest::addColumn<bool>("remote");
    const auto row = [](const char *name, const char *line, bool local, bool remote) {
        QTest::newRow(name) << QByteArray(line) << local << remote;
    };
    row("ext4", "2 1 8:1 / /mnt rw - ext4 /dev/sda1 rw", true, false);
    row("with optional fields", "2 1 8:1 / /mnt rw shared:1 master:2 - vfat /dev/sdb1 rw", true,
        false);
    row("ntfs by fuse", "2 1 8:2 / /mnt rw - fuseblk /dev/sda2 rw", true, false);
    row("btrfs", "2 1 0:40 /@home /home rw - btrfs /dev/sda3 rw", true, false);
    row("tmpfs", "2 1 0:41 / /tmp rw - tmpfs tmpfs rw", true, false);
    row("shared memory", "2 1 0:41 / /dev/shm rw - tmpfs t rw", false, false);
    row("overlay root", "2 1 0:42 / / rw - overlay overlay rw", true, false);
    row("container", "2 1 0:42 / /var/lib/c rw - overlay o rw", false, true);
    row("nfs", "2 1 0:43 / /mnt rw - nfs4 server:/ rw", false, true);
    row("cifs", "2 1 0:44 / /mnt rw - cifs //server/x rw", false, true);
    row("sshfs", "2 1 0:45 / /mnt rw - fuse.sshfs host:/ rw", false, true);
    row("ecryptfs", "2 1 0:46 / /home/u rw - ecryptfs /home/.ecryptfs/u/.Private rw", false, true);
    row("proc", "2 1 0:5 / /proc rw - proc proc rw", false, false);
    row("kernel's control files", "2 1 0:7 / /sys/fs/cgroup rw - cgroup2 c rw", false, false);
    row("autofs", "2 1 0:6 / /net rw - autofs auto rw", false, true);
}

void MountTableTest::knowsLocalFileSystems() {
    QFETCH(QByteArray, line);
    const MountTable table = MountTable::parse(line);
    QCOMPARE(table.mounts().size(), std::size_t(1));
    QTEST(table.mounts().front().local, "local");
    QTEST(table.mounts().front().remote, "remote");
}

void MountTableTest::knowsTheFoldersBehindAMount_data() {
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<std::vector<QByteArray>>("layers");
    using Layers = std::vector<QByteArray>;
    QTest::newRow("overlay") << QByteArray(
                                    "2 1 0:42 / /home rw - overlay o rw,lowerdir=/a/b:/c\\040d,"
                                    "upperdir=/e,workdir=/f,xino=off")
                             << Layers{"/a/b", "/c d", "/e"};
    QTest::newRow("overlay, layer by layer")
        << QByteArray("2 1 0:42 / /home rw - overlay /o rw,lowerdir+=/a,lowerdir+=/b")
        << Layers{"/a", "/b"};
    QTest::newRow("mirror") << QByteArray("2 1 0:42 / /home rw - fuse /srv/my\\040home rw")
                            << Layers{"/srv/my home"};
    QTest::newRow("several") << QByteArray("2 1 0:42 / /home rw - fuse.mergerfs /a:/b rw")
                             << Layers{"/a", "/b"};
    QTest::newRow("encrypted") << QByteArray("2 1 0:42 / /home/u rw - ecryptfs /home/.e/u rw,x=/y")
                               << Layers{"/home/.e/u"};
    QTest::newRow("on a server") << QByteArray("2 1 0:42 / /home rw - nfs4 server:/home rw")
                                 << Layers{};
    QTest::newRow("without its options") << QByteArray("2 1 0:42 / /home rw - overlay") << Layers{};
}

void MountTableTest::knowsTheFoldersBehindAMount() {
    QFETCH(QByteArray, line);
    const MountTable table = MountTable::parse(line);
    QCOMPARE(table.mounts().size(), std::size_t(1));
    QTEST(table.mounts().front().layers, "layers");
}

void MountTableTest::searchesEachFileSystemOnce() {
    // A folder of the disk mounted a second time, the whole disk mounted a second time, and two
    // sub-volumes of one file system, neither of which contains the other.
    const MountTable table = MountTable::parse(
        "5 1 8:1 /home /srv/chroot/home rw - ext4 /dev/sda1 rw\n"
        "1 0 8:1 / / rw - ext4 /dev/sda1 rw\n"
        "2 1 8:1 / /mnt/again rw - ext4 /dev/sda1 rw\n"
        "3 1 0:40 /@a /a rw - btrfs /dev/sdb rw\n"
        "4 1 0:40 /@b /b rw - btrfs /dev/sdb rw\n"
        "6 1 8:1 /homes /mnt/homes rw - ext4 /dev/sda1 rw\n");
    QCOMPARE(localPoints(table),
             QStringList({QStringLiteral("/"), QStringLiteral("/a"), QStringLiteral("/b")}));
}

void MountTableTest::searchesAHomeThatIsMountedTwiceOnce() {
    // Each of the two disks is mounted twice, and its second mount shows a folder of its first. The
    // second mount is neither searched again nor remote.
    const MountTable table = MountTable::parse(
        "1 0 0:42 / / rw - overlay o rw\n"
        "2 1 0:42 /home /home rw - overlay o rw\n"
        "3 1 8:1 / /data rw - ext4 /dev/sda1 rw\n"
        "4 1 8:1 /homes /homes rw - ext4 /dev/sda1 rw\n");
    QCOMPARE(localPoints(table), QStringList({QStringLiteral("/"), QStringLiteral("/data")}));
    for (const MountTable::Mount &mount : table.mounts())
        QVERIFY2(!mount.remote, mount.mountPoint.constData());
}

void MountTableTest::passesOverAMountThatAnotherCovers() {
    const MountTable table = MountTable::parse(
        "1 0 8:1 / / rw - ext4 /dev/sda1 rw\n"
        "2 1 8:2 / /mnt rw - ext4 /dev/sda2 rw\n"
        "3 2 0:9 / /mnt rw - nfs server:/ rw\n");
    QCOMPARE(localPoints(table), QStringList(QStringLiteral("/")));
    QCOMPARE(table.mountOf("/mnt/x")->id, 3);
}

void MountTableTest::readsNamesWithSpaces() {
    const MountTable table =
        MountTable::parse("2 1 8:1 / /media/My\\040Disk\\134\\0112 rw - vfat /dev/sdb1 rw\n");
    QCOMPARE(table.mounts().front().mountPoint, QByteArray("/media/My Disk\\\t2"));
}

void MountTableTest::keepsABackslashThatBeginsNoEscape() {
    const QByteArray place = "/a\\-12\\+40\\400\\089\\04";
    const MountTable table = MountTable::parse("2 1 8:1 / " + place + " rw - vfat /dev/sdb1 rw\n");
    QCOMPARE(table.mounts().front().mountPoint, place);
}

void MountTableTest::findsTheMountOfAPath() {
    const MountTable table = MountTable::parse(
        "1 0 8:1 / / rw - ext4 /dev/sda1 rw\n"
        "2 1 8:2 / /home rw - ext4 /dev/sda2 rw\n");
    QCOMPARE(table.mountOf("/home")->id, 2);
    QCOMPARE(table.mountOf("/home/user/a")->id, 2);
    QCOMPARE(table.mountOf("/homes")->id, 1);
    QCOMPARE(table.mountOf("/")->id, 1);
    QVERIFY(!MountTable().mountOf("/"));
}

void MountTableTest::knowsAMountAgain_data() {
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<bool>("held");
    QTest::newRow("the same") << QByteArray("2 1 8:1 /a /mnt ro - ext4 /dev/sda1 ro") << true;
    QTest::newRow("another number") << QByteArray("3 1 8:1 /a /mnt rw - ext4 x rw") << false;
    QTest::newRow("another place") << QByteArray("2 1 8:1 /a /srv rw - ext4 x rw") << false;
    QTest::newRow("another disk") << QByteArray("2 1 8:2 /a /mnt rw - ext4 x rw") << false;
    QTest::newRow("another folder") << QByteArray("2 1 8:1 /b /mnt rw - ext4 x rw") << false;
    QTest::newRow("nothing") << QByteArray() << false;
}

void MountTableTest::knowsAMountAgain() {
    QFETCH(QByteArray, line);
    const MountTable before = MountTable::parse("2 1 8:1 /a /mnt rw - ext4 /dev/sda1 rw");
    QTEST(MountTable::parse(line).holds(before.mounts().front()), "held");
}

void MountTableTest::leavesOutLinesThatAreNotWhole() {
    const MountTable table = MountTable::parse("\n1\n1 0 8:1 / / rw\n1 0 8:1 / / rw -\n- - - -\n");
    QVERIFY(table.mounts().empty());
}

void MountTableTest::readsTheTableOfThisProcess() {
    const MountTable table = MountTable::current();
    const MountTable::Mount *root = table.mountOf("/");
    QVERIFY(root);
    QCOMPARE(root->mountPoint, QByteArray("/"));
    const MountTable::Mount *proc = table.mountOf("/proc/self");
    QCOMPARE(proc->type, QByteArray("proc"));
    QVERIFY(!proc->local);
}

void MountTableTest::knowsARootThatIsNoMountPoint_data() {
    QTest::addColumn<bool>("withProc");
    QTest::newRow("with the kernel's table") << true;
    QTest::newRow("without") << false;
}

void MountTableTest::knowsARootThatIsNoMountPoint() {
    QFETCH(const bool, withProc);
    const QTemporaryDir folder;
    const QByteArray root = QFile::encodeName(folder.path());
    QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("proc")));
    // The child's exit status: 0 if its mount table is as expected; 1 if not; 2 if chroot is not
    // permitted here.
    const pid_t child = ::fork();
    if (child == 0) {
        const QByteArray proc = root + "/proc";
        if (::unshare(CLONE_NEWNS) != 0 ||
            ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            (withProc && ::mount("/proc", proc.constData(), nullptr, MS_BIND, nullptr) != 0) ||
            ::chroot(root.constData()) != 0 || ::chdir("/") != 0)
            ::_exit(2);
        const MountTable table = MountTable::current();
        const MountTable::Mount *mount = table.mountOf("/home/user");
        const bool procIsKnown = table.mountOf("/proc/self") != mount;
        ::_exit(mount && mount->mountPoint == "/" && mount->local && procIsKnown == withProc ? 0
                                                                                             : 1);
    }
    int status = -1;
    QCOMPARE(::waitpid(child, &status, 0), child);
    QVERIFY(WIFEXITED(status));
    if (WEXITSTATUS(status) == 2)
        QSKIP("chroot is not permitted here");
    QCOMPARE(WEXITSTATUS(status), 0);
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::MountTableTest)
#include "MountTableTest.moc"
