#include "TestMain.h"
#include "finder/SearchScope.h"

#include <QDir>

namespace pelorinnews::test {

/// Tests the scope with made-up mount tables, for file systems that cannot be mounted here.
class SearchScopeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(QDir().mkpath(QFile::decodeName(home()))); }
    void searchesTheHomeWhereverItLies_data();
    void searchesTheHomeWhereverItLies();
    void searchesNoMoreOfAMountThanTheHome();
    void searchesAHomeOnALocalDiskWithThatDisk();
    void leavesOutWhatBelongsToTheKernel();
    void leavesOutTheHomeWhereFoldersAreGiven();
    void leavesOutWhatTheHomeShows();
    void keepsWhatHoldsTheHome();

private:
    static SearchScope scope(const QByteArray &mounts) {
        SearchScope made({SearchScope::localComputer()}, home());
        made.setMounts(MountTable::parse(root() + mounts));
        return made;
    }
    static QByteArray root() { return "1 0 8:1 / / rw - ext4 /dev/sda1 rw\n"; }
    static QByteArray place() { return QFile::encodeName(QDir(QDir::homePath()).canonicalPath()); }
    static QByteArray home() { return place() + "/homes/user"; }
    static std::vector<QByteArray> folders(const std::vector<QByteArray> &all) { return all; }

    const EntryPattern _pattern = FileNamePattern::like(QStringLiteral("Pelorin.app"));
};

void SearchScopeTest::searchesTheHomeWhereverItLies_data() {
    QTest::addColumn<QByteArray>("mount");
    QTest::newRow("NFS") << QByteArray("0:43 / %1 rw - nfs4 server:/home/user rw");
    QTest::newRow("old NFS") << QByteArray("0:43 /user %1 rw - nfs server:/home rw");
    QTest::newRow("eCryptfs") << QByteArray("0:44 / %1 rw - ecryptfs /home/.e/user/.Private rw");
    QTest::newRow("encrypted by FUSE") << QByteArray("0:45 / %1 rw - fuse.gocryptfs /cipher rw");
    QTest::newRow("another computer by FUSE") << QByteArray("0:45 / %1 rw - fuse.sshfs h:/ rw");
    QTest::newRow("Windows network") << QByteArray("0:46 / %1 rw - cifs //server/user rw");
    QTest::newRow("overlay") << QByteArray("0:47 / %1 rw - overlay o rw,lowerdir=/a,upperdir=/b");
    QTest::newRow("virtual machine's host") << QByteArray("0:48 / %1 rw - virtiofs home rw");
}

void SearchScopeTest::searchesTheHomeWhereverItLies() {
    QFETCH(QByteArray, mount);
    const SearchScope searched = scope("2 1 " + mount.replace("%1", home()));
    QCOMPARE(searched.roots(_pattern), folders({"/", home()}));
    QVERIFY(searched.contains(home() + "/", _pattern));
    QVERIFY(searched.contains(home() + "/a/b", _pattern));
    QVERIFY(!searched.contains(home() + "/Pelorin.app/b", _pattern));
    QVERIFY(searched.isRemote(home()));
    QVERIFY(!searched.isRemote("/"));
}

void SearchScopeTest::searchesNoMoreOfAMountThanTheHome() {
    // One NFS server holds the home folders of all users. Other file systems are mounted below one
    // of them and elsewhere.
    const QByteArray above = place() + "/homes";
    const SearchScope searched = scope("2 1 0:43 / " + above +
                                       " rw - nfs4 server:/home rw\n"
                                       "3 2 0:44 / " +
                                       home() +
                                       "/drive rw - fuse.sshfs host:/ rw\n"
                                       "4 2 8:2 / " +
                                       home() +
                                       "/disk rw - ext4 /dev/sdb1 rw\n"
                                       "5 1 0:45 / /srv/share rw - nfs4 server:/share rw\n");
    QCOMPARE(searched.roots(_pattern), folders({"/", home() + "/disk", home()}));
    QVERIFY(!searched.contains(above + "/somebody/a", _pattern));
    QVERIFY(!searched.contains(home() + "er/a", _pattern));
    QVERIFY(!searched.contains(home() + "/drive/a", _pattern));
    QVERIFY(searched.contains(home() + "/disk/a", _pattern));
    QVERIFY(!searched.contains("/srv/share/a", _pattern));
}

void SearchScopeTest::searchesAHomeOnALocalDiskWithThatDisk() {
    QCOMPARE(scope({}).roots(_pattern), folders({"/"}));
    QCOMPARE(scope("2 1 8:2 / " + home() + " rw - ext4 /dev/sda2 rw\n").roots(_pattern),
             folders({"/", home()}));
    // The home folder is a bind mount of a folder on a disk that is walked anyway.
    const SearchScope bound = scope("2 1 8:1 /data/user " + home() + " rw - ext4 /dev/sda1 rw\n");
    QCOMPARE(bound.roots(_pattern), folders({"/"}));
    QVERIFY(!bound.contains(home() + "/a", _pattern));
}

void SearchScopeTest::leavesOutWhatBelongsToTheKernel() {
    SearchScope searched({SearchScope::localComputer()}, "/proc/self");
    searched.setMounts(MountTable::parse(root() + "2 1 0:5 / /proc rw - proc proc rw\n"));
    QCOMPARE(searched.roots(_pattern), folders({"/"}));
}

void SearchScopeTest::leavesOutTheHomeWhereFoldersAreGiven() {
    SearchScope searched({QStringLiteral("/usr")}, home());
    searched.setMounts(
        MountTable::parse(root() + "2 1 0:43 / " + home() + " rw - nfs4 server:/ rw\n"));
    QCOMPARE(searched.roots(_pattern), folders({"/usr"}));
    QVERIFY(!searched.contains(home() + "/a", _pattern));
}

void SearchScopeTest::leavesOutWhatTheHomeShows() {
    const QByteArray kept = place() + "/kept";
    QVERIFY(QDir().mkpath(QFile::decodeName(kept + "/user")));
    const SearchScope searched =
        scope("2 1 0:43 / " + place() + "/homes rw - fuse " + kept + " rw\n");
    QVERIFY(!searched.contains(kept + "/user/a", _pattern));
    QVERIFY(searched.contains(kept + "/somebody/a", _pattern));
    QVERIFY(searched.contains(home() + "/a", _pattern));
}

void SearchScopeTest::keepsWhatHoldsTheHome() {
    // The home folder is a FUSE mount of "/". If the scope left out the folder that the mount
    // shows, nothing would be searched.
    const SearchScope searched = scope("2 1 0:43 / " + home() + " rw - fuse / rw\n");
    QVERIFY(searched.contains(home() + "/a", _pattern));
    QVERIFY(searched.contains("/opt/a", _pattern));
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::SearchScopeTest)
#include "SearchScopeTest.moc"
