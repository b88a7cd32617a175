#include "DaemonTest.h"
#include "TestMain.h"

#include <QDBusReply>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <csignal>

namespace pelorinnews::test {

using std::chrono::milliseconds;

/// Tests the notification centre with the server dunst, controlled through `dunstctl`.
class DunstTest : public DaemonTest {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void showsWhatIsDelivered();
    void showsMarkupAsItStands();
    void replacesOneByAnother();
    void keepsOneWhosePopUpExpired();
    void withdrawsOneFromTheScreen();
    void withdrawsOneWhosePopUpExpired();
    void forgetsOneThatTheUserDismissed();
    void tellsTheDelegateOfAClick();
    void leavesForeignNotificationsAlone();
    void findsItsOwnAfterTheProcessWasKilled();
    void missesTheClickOnOneOfAKilledProcess();
    void sharesTheListBetweenTwoProcesses();
    void dropsTheListWhenTheDaemonIsStartedAgain();
    void waitsForADaemonThatStartsLate();
    void neverBlocksOnAHungDaemon();
    void presentsAgainWhatAHungDaemonDiedWith();

private:
    void startDunst();
    void stopDaemon();
    QString control(const QStringList &arguments) const;
    [[nodiscard]] int displayed() const;
    [[nodiscard]] QStringList history() const;
    [[nodiscard]] std::unique_ptr<BusProgram> startHost() const;

    [[nodiscard]] QStringList arguments() const {
        return {QStringLiteral("-conf"), _home->filePath(QStringLiteral("dunstrc"))};
    }
};

void DunstTest::init() {
    _home = std::make_unique<QTemporaryDir>();
    QFile file(_home->filePath(QStringLiteral("dunstrc")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    // Pop-ups of low urgency expire soon, so that the test need not wait long.
    file.write(
        "[global]\nmarkup = full\nhistory_length = 50\nidle_threshold = 0\n"
        "[urgency_low]\ntimeout = 0\n[urgency_normal]\ntimeout = 60\n"
        "[soon_gone]\nsummary = \"*brief*\"\ntimeout = 1\n");
    file.close();
    start(QStringLiteral("dunst"), arguments());
}

void DunstTest::cleanup() {
    stop();
}

void DunstTest::startDunst() {
    startDaemon(QStringLiteral("dunst"), arguments());
}

void DunstTest::stopDaemon() {
    _daemon->kill();
    _daemon.reset();
    QTRY_VERIFY(!_bus->hasNotificationServer());
}

QString DunstTest::control(const QStringList &arguments) const {
    QProcess process;
    process.setProcessEnvironment(_bus->environment());
    process.start(QStringLiteral("dunstctl"), arguments);
    if (!process.waitForFinished(testPatience) || process.exitCode() != 0)
        qWarning("dunstctl %s failed", qPrintable(arguments.join(QLatin1Char(' '))));
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

int DunstTest::displayed() const {
    return control({QStringLiteral("count"), QStringLiteral("displayed")}).toInt();
}

QStringList DunstTest::history() const {
    const QJsonObject object =
        QJsonDocument::fromJson(control({QStringLiteral("history")}).toUtf8()).object();
    QStringList summaries;
    const QJsonArray entries = object.value(QStringLiteral("data")).toArray().at(0).toArray();
    for (const QJsonValue &entry : entries)
        summaries.append(entry[QStringLiteral("summary")][QStringLiteral("data")].toString());
    return summaries;
}

std::unique_ptr<BusProgram> DunstTest::startHost() const {
    return std::make_unique<BusProgram>(
        *_bus,
        QCoreApplication::applicationDirPath() + QStringLiteral("/pelorin-notificationclient"),
        QStringList{sender().stateFolder});
}

void DunstTest::showsWhatIsDelivered() {
    _center->deliverNotification(notification(QStringLiteral("News")));
    QTRY_COMPARE(registered().size(), 1U);
    QCOMPARE(displayed(), 1);
    QCOMPARE(titles(*_center), QStringList{QStringLiteral("News")});
}

void DunstTest::showsMarkupAsItStands() {
    UserNotification marked = notification(QStringLiteral("R&D <b>1</b>"));
    marked.informativeText = QStringLiteral("<b>5 < 6</b> &amp;");
    _center->deliverNotification(marked);
    QTRY_COMPARE(registered().size(), 1U);
    control({QStringLiteral("close")});
    QTRY_COMPARE(history().size(), 1);
    // The message as dunst draws it, in dunst's own markup.
    const QJsonObject object =
        QJsonDocument::fromJson(control({QStringLiteral("history")}).toUtf8()).object();
    const QString message =
        object[QStringLiteral("data")][0][0][QStringLiteral("message")][QStringLiteral("data")]
            .toString();
    QVERIFY2(message.contains(QStringLiteral("&lt;b&gt;5 &lt; 6&lt;/b&gt; &amp;amp;")),
             qPrintable(message));
    QVERIFY2(message.contains(QStringLiteral("R&amp;D &lt;b&gt;1&lt;/b&gt;")), qPrintable(message));
}

void DunstTest::replacesOneByAnother() {
    _center->deliverNotification(notification(QStringLiteral("old")));
    QTRY_COMPARE(registered().size(), 1U);
    _center->removeDeliveredNotification(_center->deliveredNotifications().constFirst());
    _center->deliverNotification(notification(QStringLiteral("new")));
    QCOMPARE(titles(*_center), QStringList{QStringLiteral("new")});
    QTRY_COMPARE(registeredTitles(), QStringList{QStringLiteral("new")});
    QCOMPARE(displayed(), 1);
    QCOMPARE(history(), QStringList{QStringLiteral("old")});
}

void DunstTest::keepsOneWhosePopUpExpired() {
    _center->deliverNotification(notification(QStringLiteral("a brief one")));
    QTRY_COMPARE(history(), QStringList{QStringLiteral("a brief one")});
    QCOMPARE(displayed(), 0);
    QVERIFY(_center->flush(std::chrono::milliseconds(testPatience)));
    QCOMPARE(titles(*_center), QStringList{QStringLiteral("a brief one")});

    // A notification that returns from the history to the screen can still be withdrawn.
    control({QStringLiteral("history-pop")});
    QTRY_COMPARE(displayed(), 1);
    _center->removeDeliveredNotification(_center->deliveredNotifications().constFirst());
    QTRY_COMPARE(displayed(), 0);
}

void DunstTest::withdrawsOneFromTheScreen() {
    _center->deliverNotification(notification(QStringLiteral("one")));
    _center->deliverNotification(notification(QStringLiteral("two")));
    QTRY_COMPARE(registered().size(), 2U);
    QCOMPARE(displayed(), 2);
    _center->removeDeliveredNotification(_center->deliveredNotifications().constFirst());
    QTRY_COMPARE(displayed(), 1);
    QCOMPARE(history(), QStringList{QStringLiteral("one")});
    QCOMPARE(titles(*_center), QStringList{QStringLiteral("two")});
    QTRY_COMPARE(registered().size(), 1U);
}

void DunstTest::withdrawsOneWhosePopUpExpired() {
    _center->deliverNotification(notification(QStringLiteral("brief")));
    QTRY_COMPARE(history().size(), 1);
    _center->removeDeliveredNotification(_center->deliveredNotifications().constFirst());
    QVERIFY(_center->flush(std::chrono::milliseconds(testPatience)));
    QVERIFY(_center->deliveredNotifications().isEmpty());
    QVERIFY(registered().empty());
}

void DunstTest::forgetsOneThatTheUserDismissed() {
    _center->deliverNotification(notification(QStringLiteral("one")));
    QTRY_COMPARE(registered().size(), 1U);
    control({QStringLiteral("close")});
    QTRY_VERIFY(_center->deliveredNotifications().isEmpty());
    QTRY_VERIFY(registered().empty());
    QVERIFY(_delegate->activated.isEmpty());
}

void DunstTest::tellsTheDelegateOfAClick() {
    _center->deliverNotification(notification(QStringLiteral("one")));
    QTRY_COMPARE(registered().size(), 1U);
    control({QStringLiteral("action")});
    QTRY_COMPARE(_delegate->activated.size(), 1);
    QCOMPARE(_delegate->activated[0].title, QStringLiteral("one"));
    QVERIFY(!_delegate->wasOffMainThread);
    QVERIFY(_center->deliveredNotifications().isEmpty());
    QTRY_COMPARE(displayed(), 0);
}

void DunstTest::leavesForeignNotificationsAlone() {
    _center->deliverNotification(notification(QStringLiteral("ours")));
    QTRY_COMPARE(registered().size(), 1U);
    QProcess foreign;
    foreign.setProcessEnvironment(_bus->environment());
    foreign.start(QStringLiteral("dunstify"),
                  {QStringLiteral("--action=default,Open"), QStringLiteral("foreign")});
    QTRY_COMPARE(displayed(), 2);
    QCOMPARE(titles(*_center), QStringList{QStringLiteral("ours")});

    _center->removeDeliveredNotification(_center->deliveredNotifications().constFirst());
    QVERIFY(_center->flush(std::chrono::milliseconds(testPatience)));
    QCOMPARE(displayed(), 1);
    QCOMPARE(history(), QStringList{QStringLiteral("ours")});
    control({QStringLiteral("action")});
    QVERIFY(foreign.waitForFinished(testPatience));
    QTest::qWait(100);
    QVERIFY(_delegate->activated.isEmpty());
}

void DunstTest::findsItsOwnAfterTheProcessWasKilled() {
    auto host = startHost();
    host->writeLine(QStringLiteral("deliver of the killed"));
    QCOMPARE(host->readLine(), QStringLiteral("done"));
    host->kill();
    QCOMPARE(displayed(), 1);

    host = startHost();
    host->writeLine(QStringLiteral("list"));
    QCOMPARE(host->readLine(), QStringLiteral("of the killed"));
    host.reset();
    const auto found = _center->deliveredNotifications();
    QCOMPARE(found.size(), 1);
    QCOMPARE(found[0].userInfo.value(QStringLiteral("originationDate")).toDateTime(),
             QDateTime::fromMSecsSinceEpoch(1234567890123, Qt::UTC));
    _center->removeDeliveredNotification(found[0]);
    QTRY_COMPARE(displayed(), 0);
    QTRY_VERIFY(registered().empty());
}

void DunstTest::missesTheClickOnOneOfAKilledProcess() {
    // dunst reports a click only to the D-Bus connection that delivered the notification, and that
    // connection ended with the killed process. The notification stays in the list and can be
    // withdrawn.
    auto host = startHost();
    host->writeLine(QStringLiteral("deliver of the killed"));
    QCOMPARE(host->readLine(), QStringLiteral("done"));
    host->kill();
    QCOMPARE(titles(*_center), QStringList{QStringLiteral("of the killed")});
    QVERIFY(_center->flush(std::chrono::milliseconds(testPatience)));
    control({QStringLiteral("action")});
    QTest::qWait(200);
    QVERIFY(_delegate->activated.isEmpty());
    QCOMPARE(titles(*_center), QStringList{QStringLiteral("of the killed")});
    _center->removeDeliveredNotification(_center->deliveredNotifications().constFirst());
    QTRY_COMPARE(displayed(), 0);
}

void DunstTest::sharesTheListBetweenTwoProcesses() {
    auto host = startHost();
    _center->deliverNotification(notification(QStringLiteral("ours")));
    QTRY_COMPARE(registered().size(), 1U);
    host->writeLine(QStringLiteral("deliver theirs"));
    QCOMPARE(host->readLine(), QStringLiteral("done"));
    const QStringList both{QStringLiteral("ours"), QStringLiteral("theirs")};
    QCOMPARE(titles(*_center), both);
    host->writeLine(QStringLiteral("list"));
    QCOMPARE(host->readLine(), both.join(QLatin1Char(',')));

    _center->removeDeliveredNotification(_center->deliveredNotifications().constLast());
    QTRY_COMPARE(registered().size(), 1U);
    QTRY_COMPARE(displayed(), 1);
    host->writeLine(QStringLiteral("list"));
    QCOMPARE(host->readLine(), QStringLiteral("ours"));
}

void DunstTest::dropsTheListWhenTheDaemonIsStartedAgain() {
    _center->deliverNotification(notification(QStringLiteral("old")));
    QTRY_COMPARE(registered().size(), 1U);
    stopDaemon();
    QTRY_VERIFY(_center->deliveredNotifications().isEmpty());
    startDunst();
    _center->deliverNotification(notification(QStringLiteral("new")));
    QTRY_COMPARE(registered().size(), 1U);
    QCOMPARE(titles(*_center), QStringList{QStringLiteral("new")});
    QTRY_COMPARE(displayed(), 1);

    // The list is dropped, too, if the daemon was restarted while none of our processes ran.
    _center.reset();
    stopDaemon();
    startDunst();
    startCenter();
    QVERIFY(_center->flush(std::chrono::milliseconds(testPatience)));
    QVERIFY(_center->deliveredNotifications().isEmpty());
    QVERIFY(registered().empty());
}

void DunstTest::waitsForADaemonThatStartsLate() {
    stopDaemon();
    QElapsedTimer timer;
    timer.start();
    _center->deliverNotification(notification(QStringLiteral("cancelled")));
    _center->deliverNotification(notification(QStringLiteral("early")));
    _center->removeDeliveredNotification(_center->deliveredNotifications().constFirst());
    QVERIFY2(std::chrono::milliseconds(timer.elapsed()) < maxBlocked,
             qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(titles(*_center), QStringList{QStringLiteral("early")});
    QVERIFY(_center->flush(std::chrono::milliseconds(testPatience)));

    startDunst();
    QTRY_COMPARE(displayed(), 1);
    QTRY_COMPARE(registeredTitles(), QStringList{QStringLiteral("early")});
    QVERIFY(history().isEmpty());
}

void DunstTest::neverBlocksOnAHungDaemon() {
    _center->deliverNotification(notification(QStringLiteral("present")));
    QTRY_COMPARE(registered().size(), 1U);
    _daemon->signal(SIGSTOP);

    QElapsedTimer timer;
    timer.start();
    _center->deliverNotification(notification(QStringLiteral("cancelled")));
    _center->deliverNotification(notification(QStringLiteral("patient")));
    QCOMPARE(titles(*_center).size(), 3);
    _center->removeDeliveredNotification(_center->deliveredNotifications().at(1));
    _center->removeDeliveredNotification(_center->deliveredNotifications().at(0));
    QCOMPARE(titles(*_center), QStringList{QStringLiteral("patient")});
    QVERIFY2(std::chrono::milliseconds(timer.elapsed()) < maxBlocked,
             qPrintable(QString::number(timer.elapsed())));
    QVERIFY(!_center->flush(milliseconds(200)));
    QVERIFY2(std::chrono::milliseconds(timer.elapsed()) < maxBlocked,
             qPrintable(QString::number(timer.elapsed())));

    _daemon->signal(SIGCONT);
    QVERIFY(_center->flush(std::chrono::milliseconds(testPatience)));
    QCOMPARE(displayed(), 1);
    // The cancelled notification was never shown, not even for a moment.
    QCOMPARE(history(), QStringList{QStringLiteral("present")});
    QCOMPARE(registered().size(), 1U);
    QCOMPARE(titles(*_center), QStringList{QStringLiteral("patient")});
}

void DunstTest::presentsAgainWhatAHungDaemonDiedWith() {
    _center->deliverNotification(notification(QStringLiteral("first")));
    QTRY_COMPARE(registered().size(), 1U);
    _daemon->signal(SIGSTOP);
    _center->deliverNotification(notification(QStringLiteral("second")));
    QVERIFY(!_center->flush(milliseconds(200)));
    stopDaemon();
    QTRY_COMPARE(titles(*_center), QStringList{QStringLiteral("second")});
    startDunst();
    QTRY_COMPARE(displayed(), 1);
    QTRY_COMPARE(registeredTitles(), QStringList{QStringLiteral("second")});
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::DunstTest)

#include "DunstTest.moc"
