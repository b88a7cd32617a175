// Announcements on a user's desktop, with all components as programs: displayed, replaced, clicked
// and withdrawn.

#include "Assistive.h"
#include "Desktop.h"
#include "Program.h"
#include "TestMain.h"

#include <QDir>
#include <QUuid>

using namespace pelorinnews::test;

class AnnouncementCycleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { _desktop.reset(); }

    void oneAnnouncementStandsAndOpensTheWindow();
    void endingKeepsTheOnlyCopysAnnouncementForTheNextStart();
    void endingWithdrawsTheAnnouncementWhereThereAreTwoCopies();

private:
    static FeedItem entry(const QString &title, int minutesAgo) {
        return {title, QDateTime::currentDateTimeUtc().addSecs(-60 * minutesAgo),
                QStringLiteral("Told of ") + title, QStringLiteral("<p>%1</p>").arg(title)};
    }
    /// Copies the application into each folder, under a name that no other file has. Returns the
    /// path of the first copy; null if a copy failed.
    [[nodiscard]] QString copyTo(const QStringList &folders) const {
        const QString name = QStringLiteral("/Pelorin") +
                             QUuid::createUuid().toString(QUuid::Id128) + QStringLiteral(".app");
        for (const QString &folder : folders) {
            QDir().mkpath(_desktop->path(folder));
            int failed = -1;
            outputOf(QStringLiteral("cp"),
                     {QStringLiteral("-a"), QStringLiteral(PELORIN_APP_DIR),
                      _desktop->path(folder) + name},
                     &failed);
            if (failed != 0)
                return {};
        }
        return _desktop->path(folders.first()) + name;
    }
    /// Whether the host's search for its copies has ended and found the copy in this folder. The
    /// host watches the folder for changes only from then on.
    [[nodiscard]] bool hasFoundCopyIn(const QString &folder) const {
        return _desktop->hostWatches(_desktop->path(folder));
    }

    std::unique_ptr<Desktop> _desktop;
};

void AnnouncementCycleTest::init() {
    _desktop = std::make_unique<Desktop>();
    _desktop->prefer(QStringLiteral("newsShowOnStart"), false);
    _desktop->prefer(QStringLiteral("newsRefreshInterval"), 1);
}

void AnnouncementCycleTest::oneAnnouncementStandsAndOpensTheWindow() {
    const FeedItem older = entry(QStringLiteral("Older"), 120);
    _desktop->serve({entry(QStringLiteral("First"), 60), older});
    _desktop->startHost();
    QTRY_COMPARE(Desktop::displayed(), 1);
    QVERIFY(_desktop->newsWindow().isEmpty());

    _desktop->serve({entry(QStringLiteral("Second"), 30), older});
    const QStringList replaced{QStringLiteral("News from Pelorin|First")};
    QTRY_COMPARE(Desktop::history(), replaced);
    // After several more refreshes the same announcement is still displayed.
    QTRY_COMPARE(Desktop::displayed(), 1);
    QTest::qWait(3500);
    QCOMPARE(Desktop::displayed(), 1);
    QCOMPARE(Desktop::history(), replaced);

    Desktop::actOnNotification();
    QTRY_VERIFY(!_desktop->newsWindow().isEmpty());
    const auto tellsOfSecond = [this] {
        const auto seen = Assistive::tree(_desktop->hostProcess());
        return std::any_of(seen.begin(), seen.end(), [](const Assistive::Object &each) {
            return each.text == QLatin1String("Told of Second");
        });
    };
    QTRY_VERIFY(tellsOfSecond());
    QTRY_COMPARE(Desktop::displayed(), 0);
    // A refresh while the window opens may announce the item once more; that announcement is
    // withdrawn, too.
    QCOMPARE(Desktop::history().first(), QStringLiteral("News from Pelorin|Second"));
}

void AnnouncementCycleTest::endingKeepsTheOnlyCopysAnnouncementForTheNextStart() {
    _desktop->serve({entry(QStringLiteral("Present"), 60)});
    const QString copy = copyTo({QStringLiteral("one")});
    QVERIFY(!copy.isEmpty());
    _desktop->startHost(copy);
    QTRY_COMPARE(Desktop::displayed(), 1);
    QTRY_VERIFY(hasFoundCopyIn(QStringLiteral("one")));
    QVERIFY(_desktop->quitHost());
    QCOMPARE(Desktop::displayed(), 1);

    // Several refreshes after the next start do not announce the item again; newer news replaces
    // the announcement.
    _desktop->startHost(copy);
    QTRY_VERIFY(!_desktop->window(QStringLiteral("Pelorin")).isEmpty());
    QTest::qWait(3500);
    QCOMPARE(Desktop::displayed(), 1);
    QCOMPARE(Desktop::history(), QStringList());
    _desktop->serve({entry(QStringLiteral("Newer"), 30)});
    QTRY_COMPARE(Desktop::history(), QStringList({QStringLiteral("News from Pelorin|Present")}));
    QTRY_COMPARE(Desktop::displayed(), 1);
}

void AnnouncementCycleTest::endingWithdrawsTheAnnouncementWhereThereAreTwoCopies() {
    _desktop->serve({entry(QStringLiteral("Present"), 60)});
    const QString copy = copyTo({QStringLiteral("one"), QStringLiteral("two")});
    QVERIFY(!copy.isEmpty());
    _desktop->startHost(copy);
    QTRY_COMPARE(Desktop::displayed(), 1);
    QTRY_VERIFY(hasFoundCopyIn(QStringLiteral("one")) && hasFoundCopyIn(QStringLiteral("two")));
    QVERIFY(_desktop->quitHost());
    QCOMPARE(Desktop::displayed(), 0);
    QCOMPARE(Desktop::history(), QStringList({QStringLiteral("News from Pelorin|Present")}));
}

PELORIN_CORE_TEST_MAIN(AnnouncementCycleTest)
#include "AnnouncementCycleTest.moc"
