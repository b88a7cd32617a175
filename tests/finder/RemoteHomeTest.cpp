// Tests a home folder on file systems that are not local disks: a real FUSE mount and a real
// overlay. The test finder.search_scope covers others with made-up mount tables.

#include "MountTestMain.h"
#include "SearchThreads.h"
#include "finder/MetadataQueryCenter.h"
#include "finder/OlvPelorinFinder.h"
#include "platform/FilePaths.h"

#include <QDir>

#include <sys/stat.h>

namespace pelorinnews::test {

namespace {

/// Whether this process watches `folder` with inotify.
bool watches(const QString &folder) {
    struct stat status {};
    if (::stat(QFile::encodeName(folder).constData(), &status) != 0)
        return false;
    const QByteArray watch = " ino:" + QByteArray::number(status.st_ino, 16) + ' ';
    const QDir descriptors(QStringLiteral("/proc/self/fdinfo"));
    const QStringList all = descriptors.entryList(QDir::Files);
    return std::any_of(all.begin(), all.end(), [&](const QString &each) {
        QFile file(descriptors.filePath(each));
        return file.open(QIODevice::ReadOnly) && file.readAll().contains(watch);
    });
}

}  // namespace

class RemoteHomeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void countsACopyInItOnce_data() { kinds(); }
    void countsACopyInItOnce();
    void leavesOtherMountsOut_data() { kinds(); }
    void leavesOtherMountsOut();
    void staysPendingWhereItIsTooBigUnlessTwoAreFound_data() { kinds(); }
    void staysPendingWhereItIsTooBigUnlessTwoAreFound();

private:
    static void kinds() {
        QTest::addColumn<bool>("isFuse");
        QTest::newRow("overlay") << false;
        QTest::newRow("FUSE") << true;
    }
    QString at(const QString &path) const { return _folder->filePath(path); }
    void make(const QString &path) const { QVERIFY(QDir().mkpath(at(path))); }
    /// Mounts the folder "kept", which is on this computer's disk, at the folder `point`: through
    /// FUSE, or as the lower layer of an overlay.
    void mount(bool isFuse, const QString &point);
    std::shared_ptr<OlvPelorinFinder> find(
        const FileWalk::Bounds &bounds = MetadataQuery::defaultRemoteBounds) const {
        return OlvPelorinFinder::init(FileNamePattern::like(_name), {SearchScope::localComputer()},
                                      bounds);
    }

    const QString _name = QStringLiteral("PelorinTest%1.app").arg(::getpid());
    const HurriedWalks _hurriedWalks;
    QByteArray _home;
    std::unique_ptr<QTemporaryDir> _folder;
    std::unique_ptr<Mounts> _mounts;
};

void RemoteHomeTest::initTestCase() {
    if (!Mounts::arePermitted())
        QSKIP("mounting is not permitted here");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    _home = qgetenv("HOME");
}

void RemoteHomeTest::init() {
    _folder =
        std::make_unique<QTemporaryDir>(QFile::decodeName(_home) + QStringLiteral("/test-XXXXXX"));
    _mounts = std::make_unique<Mounts>();
    QFETCH(const bool, isFuse);
    if (isFuse && !Mounts::hasFuse())
        QSKIP("FUSE is not available");
    for (const char *each : {"home", "kept", "other", "changes/upper", "changes/work"})
        make(QLatin1String(each));
    qputenv("HOME", QFile::encodeName(at(QStringLiteral("home"))));
}

void RemoteHomeTest::cleanup() {
    QTRY_COMPARE(threadCount("pelorin-search") + threadCount("pelorin-walk"), 0);
    _mounts.reset();
    _folder.reset();
    qputenv("HOME", _home);
}

void RemoteHomeTest::mount(bool isFuse, const QString &point) {
    if (isFuse)
        QVERIFY(_mounts->fuse(at(QStringLiteral("kept")), at(point)));
    else
        QVERIFY(
            _mounts->overlay(at(QStringLiteral("kept")), at(QStringLiteral("changes")), at(point)));
}

void RemoteHomeTest::countsACopyInItOnce() {
    QFETCH(const bool, isFuse);
    // The copy is visible twice, in the home folder and on this computer's disk, but counts as one.
    make(QStringLiteral("kept/a/deep/place/") + _name);
    mount(isFuse, QStringLiteral("home"));
    const auto finder = find();
    QTRY_COMPARE(finder->result(), OlvFinderResultOne);
    const QString copy = at(QStringLiteral("home/a/deep/place/") + _name);
    QCOMPARE(finder->instances().value_or(QStringList()), QStringList(copy));
    const QString second = at(QStringLiteral("home/Applications/") + _name);
    QVERIFY(QDir().mkpath(second));
    QTRY_COMPARE(finder->result(), OlvFinderResultMany);
    QVERIFY(QDir(second).removeRecursively());
    QTRY_COMPARE(finder->result(), OlvFinderResultOne);
    QVERIFY(QDir(copy).removeRecursively());
    QTRY_COMPARE(finder->result(), OlvFinderResultNone);
}

void RemoteHomeTest::leavesOtherMountsOut() {
    QFETCH(const bool, isFuse);
    make(QStringLiteral("here/") + _name);
    // Mount the same folder below the home folder and elsewhere. It contains a copy, and a home
    // folder of another user with a copy. It is on a tmpfs that is detached afterwards, so that its
    // files are visible only through these two mounts.
    QVERIFY(_mounts->memory(at(QStringLiteral("kept"))));
    QVERIFY(_mounts->memory(at(QStringLiteral("changes"))));
    for (const char *each : {"kept", "changes/upper", "changes/work"})
        make(QLatin1String(each));
    make(QStringLiteral("kept/") + _name);
    make(QStringLiteral("kept/user/Applications/") + _name);
    make(QStringLiteral("home/drive"));
    mount(isFuse, QStringLiteral("home/drive"));
    QVERIFY(_mounts->bind(at(QStringLiteral("home/drive")), at(QStringLiteral("other"))));
    for (const char *each : {"kept", "changes"})
        QCOMPARE(::umount2(QFile::encodeName(at(QLatin1String(each))).constData(), MNT_DETACH), 0);
    QVERIFY(QFileInfo::exists(at(QStringLiteral("home/drive/") + _name)));

    const auto finder = find();
    QTRY_COMPARE(finder->result(), OlvFinderResultOne);
    QCOMPARE(finder->instances().value_or(QStringList()),
             QStringList(at(QStringLiteral("here/") + _name)));
}

void RemoteHomeTest::staysPendingWhereItIsTooBigUnlessTwoAreFound() {
    QFETCH(const bool, isFuse);
    make(QStringLiteral("here/") + _name);
    for (int i = 0; i < 30; ++i)
        make(QStringLiteral("kept/folder-%1/a").arg(i));
    mount(isFuse, QStringLiteral("home"));
    const auto finder = find({.entries = 40});
    QList<int> results;
    const auto *center = MetadataQueryCenter::defaultCenter();
    const auto note = [&] { results << finder->result(); };
    const auto gathered =
        QObject::connect(center, &MetadataQueryCenter::didFinishGathering, center, note);
    const auto updated = QObject::connect(center, &MetadataQueryCenter::didUpdate, center, note);
    // Matches are watched only after the walks have ended, and their folder before the one above
    // it: wait for both.
    QTRY_VERIFY(watches(at(QStringLiteral("here"))) && watches(_folder->path()));
    QCOMPARE(finder->result(), OlvFinderResultPending);
    make(QStringLiteral("second/") + _name);
    QTRY_VERIFY(!results.isEmpty());
    QObject::disconnect(gathered);
    QObject::disconnect(updated);
    QCOMPARE(results.first(), static_cast<int>(OlvFinderResultMany));
    QCOMPARE(
        finder->instances().value_or(QStringList()),
        QStringList({at(QStringLiteral("here/") + _name), at(QStringLiteral("second/") + _name)}));
}

}  // namespace pelorinnews::test

PELORIN_MOUNT_TEST_MAIN(pelorinnews::test::RemoteHomeTest)
#include "RemoteHomeTest.moc"
