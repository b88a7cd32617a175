#include "MountTable.h"
#include "TestMain.h"

namespace pelorinnews::test {

class MountTableTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void knowsLocalFileSystems_data();
    void knowsLocalFileSystems();
    void searchesEachFileSystemOnce();
    void passesOverAMountThatAnotherCovers();
    void readsNamesWithSpaces();
    void findsTheMountOfAPath();
    void knowsAMountAgain_data();
    void knowsAMountAgain();
    void leavesOutLinesThatAreNotWhole();
    void readsTheTableOfThisProcess();
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
    QTest::newRow("ext4") << QByteArray("2 1 8:1 / /mnt rw - ext4 /dev/sda1 rw") << true;
    QTest::newRow("with optional fields")
        << QByteArray("2 1 8:1 / /mnt rw shared:1 master:2 - vfat /dev/sdb1 rw") << true;
    QTest::newRow("ntfs by fuse") << QByteArray("2 1 8:2 / /mnt rw - fuseblk /dev/sda2 rw") << true;
    QTest::newRow("btrfs") << QByteArray("2 1 0:40 /@home /home rw - btrfs /dev/sda3 rw") << true;
    QTest::newRow("tmpfs") << QByteArray("2 1 0:41 / /tmp rw - tmpfs tmpfs rw") << true;
    QTest::newRow("shared memory") << QByteArray("2 1 0:41 / /dev/shm rw - tmpfs t rw") << false;
    QTest::newRow("overlay root") << QByteArray("2 1 0:42 / / rw - overlay overlay rw") << true;
    QTest::newRow("container") << QByteArray("2 1 0:42 / /var/lib/c rw - overlay o rw") << false;
    QTest::newRow("nfs") << QByteArray("2 1 0:43 / /mnt rw - nfs4 server:/ rw") << false;
    QTest::newRow("cifs") << QByteArray("2 1 0:44 / /mnt rw - cifs //server/x rw") << false;
    QTest::newRow("sshfs") << QByteArray("2 1 0:45 / /mnt rw - fuse.sshfs host:/ rw") << false;
    QTest::newRow("proc") << QByteArray("2 1 0:5 / /proc rw - proc proc rw") << false;
    QTest::newRow("autofs") << QByteArray("2 1 0:6 / /net rw - autofs auto rw") << false;
}

void MountTableTest::knowsLocalFileSystems() {
    QFETCH(QByteArray, line);
    QFETCH(bool, local);
    const MountTable table = MountTable::parse(line);
    QCOMPARE(table.mounts().size(), std::size_t(1));
    QCOMPARE(table.mounts().front().local, local);
}

void MountTableTest::searchesEachFileSystemOnce() {
    // A folder of the disk mounted a second time, the whole disk mounted a second time, and two
    // sub-volumes of one file system, neither of which holds the other.
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

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::MountTableTest)
#include "MountTableTest.moc"
