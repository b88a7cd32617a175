// The way of an announcement through all parts as a user's desktop runs them.

#include "Desktop.h"

#include <QDir>
#include <QUuid>

#include <TestMain.h>

using namespace pelorinnews::test;

class AnnouncementCycleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { desktop.reset(); }

    void oneAnnouncementStandsAndOpensTheWindow();
    void endingKeepsTheAnnouncementWhereThereIsOneCopyOnly();

private:
    static constexpr int patience = 60000;

    static FeedEntry entry(const QString &title, int minutesAgo) {
        return {title, QDateTime::currentDateTimeUtc().addSecs(-60 * minutesAgo),
                QStringLiteral("<p>Told of ") + title + QStringLiteral("</p>")};
    }
    [[nodiscard]] static QString copyTo(const QString &folder, const QString &name) {
        QDir().mkpath(folder);
        const QString copy = folder + QLatin1Char('/') + name;
        int failed = -1;
        Desktop::output(QStringLiteral("cp"),
                        {QStringLiteral("-a"), QStringLiteral(PELORIN_APP_DIR), copy}, &failed);
        return failed == 0 ? copy : QString();
    }
    /// Runs the host in `copy` for `seconds` after it announced. Whether it ended well.
    [[nodiscard]] bool runFor(const QString &copy, int seconds) {
        desktop->startHost(copy);
        if (!QTest::qWaitFor([] { return Desktop::displayed() == 1; }, patience))
            return false;
        QTest::qWait(1000 * seconds);
        return desktop->quitHost();
    }

    std::unique_ptr<Desktop> desktop;
};

void AnnouncementCycleTest::init() {
    desktop = std::make_unique<Desktop>();
    desktop->prefer(QStringLiteral("newsShowOnStart"), false);
    desktop->prefer(QStringLiteral("newsRefreshInterval"), 1);
}

void AnnouncementCycleTest::oneAnnouncementStandsAndOpensTheWindow() {
    const FeedEntry older = entry(QStringLiteral("Older"), 120);
    desktop->serve({entry(QStringLiteral("First"), 60), older});
    desktop->startHost();
    QTRY_COMPARE_WITH_TIMEOUT(Desktop::displayed(), 1, patience);
    QVERIFY(desktop->newsWindow().isEmpty());

    desktop->serve({entry(QStringLiteral("Second"), 30), older});
    const QStringList replaced{QStringLiteral("News from Pelorin|First")};
    QTRY_COMPARE_WITH_TIMEOUT(Desktop::history(), replaced, patience);
    // Several refreshes later still the same one stands.
    QTest::qWait(3500);
    QCOMPARE(Desktop::displayed(), 1);
    QCOMPARE(Desktop::history(), replaced);

    Desktop::actOnNotification();
    QTRY_VERIFY_WITH_TIMEOUT(!desktop->newsWindow().isEmpty(), patience);
    QTRY_VERIFY_WITH_TIMEOUT(desktop->text().contains(QStringLiteral("Told of Second")), patience);
    QTRY_COMPARE_WITH_TIMEOUT(Desktop::displayed(), 0, patience);
    QCOMPARE(Desktop::history(),
             QStringList({QStringLiteral("News from Pelorin|Second"), replaced.first()}));
}

void AnnouncementCycleTest::endingKeepsTheAnnouncementWhereThereIsOneCopyOnly() {
    desktop->serve({entry(QStringLiteral("Standing"), 60)});
    // A name of its own, so that other copies on this computer do not count.
    const QString name = QStringLiteral("Pelorin") + QUuid::createUuid().toString(QUuid::Id128) +
                         QStringLiteral(".app");
    const QString only = copyTo(desktop->path(QStringLiteral("one")), name);
    QVERIFY(!only.isEmpty());

    // Nothing tells from outside that the search has answered; until then it is withdrawn.
    int seconds = 2;
    QVERIFY(runFor(only, seconds));
    while (Desktop::displayed() == 0 && seconds < 32) {
        seconds *= 2;
        QVERIFY(runFor(only, seconds));
    }
    QCOMPARE(Desktop::displayed(), 1);

    // The next start finds it again and announces nothing twice.
    const QStringList before = Desktop::history();
    QVERIFY(runFor(only, seconds));
    QCOMPARE(Desktop::displayed(), 1);
    QCOMPARE(Desktop::history(), before);

    QVERIFY(!copyTo(desktop->path(QStringLiteral("two")), name).isEmpty());
    QVERIFY(runFor(only, seconds));
    QTRY_COMPARE(Desktop::displayed(), 0);
    QCOMPARE(Desktop::history().size(), before.size() + 1);
}

PELORIN_CORE_TEST_MAIN(AnnouncementCycleTest)
#include "AnnouncementCycleTest.moc"
