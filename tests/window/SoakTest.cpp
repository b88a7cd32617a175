// Hours of a host's life in minutes: refreshes against a service that misbehaves one time in three,
// announcements by a real notification server, and openings of the window. What the process holds
// must not grow.
//
// PELORIN_SOAK_ROUNDS sets the number of rounds, each of 20 refreshes, 4 openings and an
// announcement; PELORIN_SOAK_FIGURES is a file for the figures of each round (see `soak`).

#include "AllocatedMemory.h"
#include "NotificationTesting.h"
#include "TestMain.h"
#include "WindowTest.h"
#include "notifications/DesktopNotificationCenter.h"

#include <QApplication>
#include <QDir>
#include <QDirIterator>
#include <QSaveFile>

#include <algorithm>
#include <malloc.h>
#include <unistd.h>
#include <vector>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

constexpr int refreshesPerRound = 20;
constexpr int openingsPerRound = 4;
constexpr qint64 kilobyte = 1024;

/// What the process holds after a round.
struct Figures {
    qint64 heap = 0;      ///< Bytes that the process has allocated.
    qint64 resident = 0;  ///< Bytes of memory, shared pages included.
    qint64 descriptors = 0;
    qint64 threads = 0;
    qint64 files = 0;     ///< In the user's folders.
    qint64 registry = 0;  ///< Bytes of the notification registry.
};

qint64 entriesOf(const QString &folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
}

qint64 filesBelow(const QString &folder) {
    qint64 count = 0;
    QDirIterator each(folder, QDir::Files | QDir::Hidden | QDir::System,
                      QDirIterator::Subdirectories);
    for (; each.hasNext(); each.next())
        ++count;
    return count;
}

qint64 residentBytes() {
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no figures of the process");
    constexpr qint64 page = 4 * kilobyte;
    return file.readAll().split(' ').value(1).toLongLong() * page;
}

/// Compares the highest of some early rounds with the lowest of the last ones: figures vary a
/// little, but a leak in each round lifts them all.
void mustNotGrow(const std::vector<Figures> &figures, qint64 Figures::*which, qint64 tolerance,
                 const char *what) {
    const auto part = static_cast<std::ptrdiff_t>(figures.size()) / 5;
    const auto isLess = [which](const Figures &one, const Figures &other) {
        return one.*which < other.*which;
    };
    const qint64 early =
        (*std::max_element(figures.begin() + part, figures.begin() + 2 * part, isLess)).*which;
    const qint64 late = (*std::min_element(figures.end() - part, figures.end(), isLess)).*which;
    QVERIFY2(late <= early + tolerance,
             qPrintable(
                 QStringLiteral("%1: %2, later %3").arg(QLatin1String(what)).arg(early).arg(late)));
}

}  // namespace

class SoakTest : public WindowTest {
    Q_OBJECT

private Q_SLOTS:
    void holdsNoMoreAfterHours();
    void holdsNoMoreAfterAnnouncements();

private:
    void prepare() override;
    void refresh(OlvNewsWindowController &controller, int number);
    void announce(OlvNewsWindowController &controller, int round);
    void open(OlvNewsWindowController &controller);
    [[nodiscard]] Figures measured() const;
    void write(const std::vector<Figures> &figures) const;

    QTemporaryDir _stateFolder;
    std::unique_ptr<PrivateBus> _bus;
    std::unique_ptr<BusProgram> _dunst;
    std::shared_ptr<DesktopNotificationCenter> _center;
    int _failed = 0;
};

void SoakTest::prepare() {
    _bus = std::make_unique<PrivateBus>();
    QSaveFile settings(_stateFolder.filePath(QStringLiteral("dunstrc")));
    QVERIFY(settings.open(QIODevice::WriteOnly));
    settings.write("[global]\nidle_threshold = 0\nhistory_length = 5\n");
    QVERIFY(settings.commit());
    _dunst = std::make_unique<BusProgram>(
        *_bus, QStringLiteral("dunst"), QStringList{QStringLiteral("-conf"), settings.fileName()});
    QTRY_VERIFY(_bus->hasNotificationServer());
    _center = std::make_shared<DesktopNotificationCenter>(senderOn(*_bus, _stateFolder.path()));
    _fixture->services.notificationCenter = _center;
    _fixture->prefer(QStringLiteral("newsShowOnStart"), false);
    _fixture->prefer(QStringLiteral("newsFilter"), 1);
    _fixture->serve(WindowFixture::items(12));
}

/// Two of three refreshes work.
void SoakTest::refresh(OlvNewsWindowController &controller, int number) {
    FeedReply reply;
    if (number % 3 == 2) {
        ++_failed;
        switch (number / 3 % 8) {
            case 0:
                reply.status = 503;
                break;
            case 1:
                reply.cutAfter = 300;
                break;
            case 2:
                reply.cutBeforeHead = true;
                reply.cutStyle = FeedReply::CutStyle::Reset;
                break;
            case 3:
                reply.body = QByteArray("<rss><channel><item><title>Unfinished");
                break;
            case 4:
                reply.framing = FeedReply::Framing::Chunked;
                reply.chunkError = FeedReply::ChunkError::Malformed;
                break;
            case 5:
                reply.invalidUtf8 = true;
                break;
            case 6:
                reply.redirectLoop = true;
                break;
            default:
                reply.lengthError = 10;
        }
    }
    _fixture->server().setReply(reply);
    controller.onRefreshTimerFire();
    WindowFixture::settle(controller);
}

/// A new item, and a refresh that announces it.
void SoakTest::announce(OlvNewsWindowController &controller, int round) {
    QList<FeedItem> items = WindowFixture::items(12);
    items[0].date = QDateTime::currentDateTimeUtc().addSecs(3600 + round);
    _fixture->serve(items);
    refresh(controller, 0);
    QTRY_COMPARE(_center->deliveredNotifications().size(), 1);
    QVERIFY(_center->flush(std::chrono::milliseconds(testPatience)));
}

void SoakTest::open(OlvNewsWindowController &controller) {
    controller.showWindow();
    QVERIFY(QTest::qWaitForWindowActive(controller.window(), testPatience));
    QTRY_VERIFY(controller.itemIndicator()->text().endsWith(QStringLiteral("/ 12")));
    controller.nextItem()->click();
    QCoreApplication::processEvents();
    controller.window()->performClose();
    QVERIFY(!controller.window()->isVisible());
}

Figures SoakTest::measured() const {
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    Figures figures;
    figures.heap = allocatedMemory();
    figures.resident = residentBytes();
    figures.descriptors = entriesOf(QStringLiteral("/proc/self/fd"));
    figures.threads = entriesOf(QStringLiteral("/proc/self/task"));
    figures.files = filesBelow(QDir::homePath()) + filesBelow(_stateFolder.path());
    figures.registry =
        QFileInfo(_stateFolder.filePath(QStringLiteral("notifications.json"))).size();
    return figures;
}

void SoakTest::write(const std::vector<Figures> &figures) const {
    const QString path = qEnvironmentVariable("PELORIN_SOAK_FIGURES");
    if (path.isEmpty())
        return;
    QSaveFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("heap,resident,descriptors,threads,files,registry\n");
    for (const Figures &each : figures) {
        file.write(QStringLiteral("%1,%2,%3,%4,%5,%6\n")
                       .arg(each.heap)
                       .arg(each.resident)
                       .arg(each.descriptors)
                       .arg(each.threads)
                       .arg(each.files)
                       .arg(each.registry)
                       .toLatin1());
    }
    QVERIFY(file.commit());
}

void SoakTest::holdsNoMoreAfterHours() {
    bool isSet = false;
    const int asked = qEnvironmentVariableIntValue("PELORIN_SOAK_ROUNDS", &isSet);
    const int rounds = isSet ? asked : 30;
    const auto controller = _fixture->makeController();
    std::vector<Figures> figures;
    figures.reserve(static_cast<std::size_t>(rounds));
    for (int round = 0; round < rounds; ++round) {
        for (int i = 0; i < refreshesPerRound - 1; ++i)
            refresh(*controller, round * refreshesPerRound + i);
        announce(*controller, round);
        for (int i = 0; i < openingsPerRound && !QTest::currentTestFailed(); ++i)
            open(*controller);
        // The window withdraws the announcement.
        QVERIFY(_center->flush(std::chrono::milliseconds(testPatience)));
        QVERIFY(_center->deliveredNotifications().isEmpty());
        _fixture->server().clearRequests();
        // The network's thread ends its connections and releases its memory a moment later.
        QTRY_COMPARE(_fixture->server().openConnections(), 0);
        if (QTest::currentTestFailed())
            return;
        figures.push_back(measured());
    }
    write(figures);
    if (QTest::currentTestFailed())
        return;
    qInfo("%d refreshes, of which %d failed, %d openings, %d announcements",
          rounds * refreshesPerRound, _failed, rounds * openingsPerRound, rounds);

    // Qt keeps a little memory whenever any window is opened (see GrowthTest), and frees it again
    // much later. A leak of 100 bytes in each refresh would be four times the allowance.
    constexpr qint64 allowancePerRound = 512;
    const auto part = static_cast<qint64>(figures.size()) / 5;
    mustNotGrow(figures, &Figures::heap, 64 * kilobyte + 3 * part * allowancePerRound, "heap");
    mustNotGrow(figures, &Figures::descriptors, 0, "descriptors");
    mustNotGrow(figures, &Figures::threads, 0, "threads");
    mustNotGrow(figures, &Figures::files, 0, "files");
    mustNotGrow(figures, &Figures::registry, 16, "registry");
}

/// Without openings nothing of Qt's grows, so the allowance is a few bytes per announcement.
void SoakTest::holdsNoMoreAfterAnnouncements() {
    constexpr int rounds = 250;
    const auto controller = _fixture->makeController();
    std::vector<Figures> figures;
    figures.reserve(rounds);
    for (int round = 0; round < rounds; ++round) {
        announce(*controller, round);
        _center->removeDeliveredNotification(_center->deliveredNotifications().constFirst());
        QVERIFY(_center->flush(std::chrono::milliseconds(testPatience)));
        _fixture->server().clearRequests();
        QTRY_COMPARE(_fixture->server().openConnections(), 0);
        if (QTest::currentTestFailed())
            return;
        figures.push_back(measured());
    }
    // 150 rounds lie between the two parts that are compared.
    constexpr qint64 allowance = 150 * qint64{32};
    mustNotGrow(figures, &Figures::heap, allowance, "heap");
    mustNotGrow(figures, &Figures::descriptors, 0, "descriptors");
    mustNotGrow(figures, &Figures::threads, 0, "threads");
}

int main(int argc, char *argv[]) {
    constexpr const char *tunables = "GLIBC_TUNABLES";
    // The C library reads this when a program starts.
    if (!qEnvironmentVariableIsSet(tunables)) {
        qputenv(tunables, "glibc.malloc.tcache_count=0");
        ::execv("/proc/self/exe", argv);
        qFatal("the program cannot be started again");
    }
    const TestHome home;
    const QApplication application(argc, argv);
    SoakTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "SoakTest.moc"
