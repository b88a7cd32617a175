#include "FakeNotificationServer.h"
#include "NotificationTesting.h"
#include "PrivateBus.h"
#include "RecordingDelegate.h"
#include "TestMain.h"
#include "notifications/DesktopNotificationCenter.h"

#include <QDBusConnectionInterface>
#include <QDateTime>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QLockFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/inotify.h>
#include <thread>
#include <unistd.h>

namespace pelorinnews::test {

using std::chrono::milliseconds;

/// Tests that need a server behaviour which no installed notification server can be made to show.
class DesktopNotificationCenterTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void costsNothingUntilSomethingIsDelivered();
    void sendsTitleTextSoundOriginAndClick();
    void labelsTheClickForEveryServerButThoseThatWouldShowIt_data();
    void labelsTheClickForEveryServerButThoseThatWouldShowIt();
    void sendsNoSoundWhereNoneIsWanted();
    void escapesTheTextWhereTheServerReadsMarkup_data();
    void escapesTheTextWhereTheServerReadsMarkup();
    void sendsTextsThatTheBusCanCarry();
    void givesEachDeliveryAnIdentityOfItsOwn();
    void listsWhatIsOnItsWay();
    void withdrawsOneWhileTheNextIsOnItsWay();
    void cancelsOneThatWaitsForAServer();
    void withdrawsOneWhoseNumberComesLater();
    void forgetsOneThatTheServerRefuses();
    void keepsOneThatExpired_data();
    void keepsOneThatExpired();
    void endsOneThatWasClosedBeforeItsNumberCame();
    void remembersOnlySoManySignalsDuringADelivery_data();
    void remembersOnlySoManySignalsDuringADelivery();
    void forgetsTheSignalsDuringAnEarlierDelivery_data();
    void forgetsTheSignalsDuringAnEarlierDelivery();
    void ignoresSignalsOfOtherProgramsNotifications();
    void readsTheRegistryOnceForAllOtherProgramsNotifications();
    void ignoresSignalsOfOthersThanTheServer();
    void endsOneThatWasClickedAndTellsTheDelegate();
    void handsOverTheActivationToken();
    void handsOverNoTokenOfAnEarlierServer();
    void asksTheDelegateBeforeItPresents();
    void dropsWhatTheDelegateDoesNotWantPresented();
    void doesNotKeepTheDelegateAlive();
    void keepsTheNewestOfWhatWaitsForAServer();
    void presentsWhatWaitedWhenAServerComes();
    void presentsAgainWhatAServerTookAndNeverAnswered_data();
    void presentsAgainWhatAServerTookAndNeverAnswered();
    void asksNoSuccessorOfTheServerThatItKnows();
    void stopsWhenServersKeepCrashing_data();
    void stopsWhenServersKeepCrashing();
    void presentsAgainWhatDidNotReachTheServer_data();
    void presentsAgainWhatDidNotReachTheServer();
    void sendsNothingToAServerThatDoesNotSayWhatItCan();
    void hasTheBusStartAServer();
    void dropsTheListWhenTheServerIsReplaced();
    void dropsTheListWithoutARegistryToo();
    void dropsTheRegistryOfAnotherBus();
    void survivesTheLossOfTheBus();
    void connectsAgainAfterTheLossOfTheBus();
    void worksWithoutABus();
    void worksWithoutAStateFolder();
    void savesEachChangeOnce();
    void savesWhenTheRegistryIsFreeAgain();
    void survivesACorruptRegistry();
    void knowsAtOnceWhatAnEarlierRunDelivered();
    void savesAWithdrawalThatTheServerHasNotConfirmed();
    void finishesAWithdrawalOfAnEarlierRun();
    void actsOnAnEarlierRunsClickOnceTheRegistryIsFree();
    void leavesAClickToTheProcessThatDelivered();
    void neverBlocksOnAHungBus();
    void worksFromManyThreadsAtOnce();
    void goesNowhereAfterTheStop();
    void endsItsThreadThoughTheDelegateIsYetToBeAsked();

private:
    [[nodiscard]] QString stateFolder() const { return _home->filePath(QStringLiteral("state")); }
    [[nodiscard]] NotificationSender sender() const;
    [[nodiscard]] std::unique_ptr<DesktopNotificationCenter> newCenter() const {
        return std::make_unique<DesktopNotificationCenter>(sender());
    }
    void serve() { _server = std::make_unique<FakeNotificationServer>(_bus->connection()); }
    /// Delivers a notification and waits until it is in the registry. Returns the delivered
    /// notification.
    UserNotification deliverAndWait(NotificationCenter &center, const QString &title) const;
    [[nodiscard]] std::vector<RegistryEntry> registered() const;

    std::unique_ptr<QTemporaryDir> _home;
    std::unique_ptr<PrivateBus> _bus;
    std::unique_ptr<FakeNotificationServer> _server;
};

void DesktopNotificationCenterTest::init() {
    _home = std::make_unique<QTemporaryDir>();
    _bus = std::make_unique<PrivateBus>();
}

void DesktopNotificationCenterTest::cleanup() {
    _server.reset();
    _bus.reset();
    _home.reset();
}

NotificationSender DesktopNotificationCenterTest::sender() const {
    return senderOn(*_bus, stateFolder());
}

std::vector<RegistryEntry> DesktopNotificationCenterTest::registered() const {
    return registeredIn(stateFolder());
}

UserNotification DesktopNotificationCenterTest::deliverAndWait(NotificationCenter &center,
                                                               const QString &title) const {
    center.deliverNotification(notification(title));
    const auto isRegistered = [&] {
        const auto entries = registered();
        return std::any_of(entries.begin(), entries.end(), [&title](const RegistryEntry &entry) {
            return entry.notification.title == title;
        });
    };
    [&] { QTRY_VERIFY(isRegistered()); }();
    return center.deliveredNotifications().constLast();
}

void DesktopNotificationCenterTest::costsNothingUntilSomethingIsDelivered() {
    serve();
    const auto center = newCenter();
    center->setDelegate(std::make_shared<RecordingDelegate>());
    QVERIFY(center->deliveredNotifications().isEmpty());
    center->removeDeliveredNotification(notification(QStringLiteral("none")));
    QVERIFY(center->flush(milliseconds(0)));
    QVERIFY(!center->isActive());
    QVERIFY(!QFile::exists(stateFolder()));

    center->deliverNotification(notification(QStringLiteral("one")));
    QTRY_VERIFY(center->isActive());
}

void DesktopNotificationCenterTest::sendsTitleTextSoundOriginAndClick() {
    serve();
    const auto center = newCenter();
    center->deliverNotification(notification(QStringLiteral("News")));
    QTRY_COMPARE(_server->deliveries.size(), 1U);

    const auto &delivery = _server->deliveries[0];
    QCOMPARE(delivery.applicationName, QStringLiteral("Host"));
    QCOMPARE(delivery.replaces, 0U);
    QCOMPARE(delivery.summary, QStringLiteral("News"));
    QCOMPARE(delivery.body, QStringLiteral("Text of News"));
    QCOMPARE(delivery.actions, (QStringList{QStringLiteral("default"), QStringLiteral("Open")}));
    QCOMPARE(delivery.hints.value(QStringLiteral("desktop-entry")).toString(),
             QStringLiteral("com.example.Host"));
    QCOMPARE(delivery.hints.value(QStringLiteral("sound-name")).toString(),
             QStringLiteral("message-new-instant"));
    QCOMPARE(delivery.timeout, -1);
}

void DesktopNotificationCenterTest::labelsTheClickForEveryServerButThoseThatWouldShowIt_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("capabilities");
    QTest::addColumn<QStringList>("actions");
    const QStringList canAct{"body", "actions"};
    const QStringList labelled{"default", "Open"};
    QTest::newRow("Xfce") << "Xfce Notify Daemon" << canAct << labelled;
    QTest::newRow("unheard of") << "Other" << canAct << labelled;
    QTest::newRow("without a name") << QString() << canAct << labelled;
    QTest::newRow("LXQt") << "lxqt-notificationd" << canAct << QStringList{"default", ""};
    QTest::newRow("without actions") << "notify-osd" << QStringList{"body"} << QStringList();
    QTest::newRow("without answers") << QString() << QStringList() << labelled;
}

void DesktopNotificationCenterTest::labelsTheClickForEveryServerButThoseThatWouldShowIt() {
    QFETCH(QString, name);
    QFETCH(QStringList, capabilities);
    QFETCH(QStringList, actions);
    serve();
    _server->serverName = name;
    _server->capabilities = capabilities;
    _server->tellsTraits = !capabilities.isEmpty();
    const auto center = newCenter();
    center->deliverNotification(notification(QStringLiteral("one")));
    QTRY_COMPARE(_server->deliveries.size(), 1U);
    QCOMPARE(_server->deliveries[0].actions, actions);
}

void DesktopNotificationCenterTest::sendsNoSoundWhereNoneIsWanted() {
    serve();
    const auto center = newCenter();
    UserNotification silent = notification(QStringLiteral("Silent"));
    silent.soundName = QString();
    center->deliverNotification(silent);
    UserNotification ringing = notification(QStringLiteral("Bell"));
    ringing.soundName = QStringLiteral("bell");
    center->deliverNotification(ringing);
    QTRY_COMPARE(_server->deliveries.size(), 2U);
    QVERIFY(!_server->deliveries[0].hints.contains(QStringLiteral("sound-name")));
    QCOMPARE(_server->deliveries[1].hints.value(QStringLiteral("sound-name")).toString(),
             QStringLiteral("bell"));
}

void DesktopNotificationCenterTest::escapesTheTextWhereTheServerReadsMarkup_data() {
    QTest::addColumn<QStringList>("capabilities");
    QTest::addColumn<QString>("body");
    QTest::newRow("markup") << QStringList{"actions", "body-markup"} << "&lt;b&gt;1 &amp;amp; 2";
    QTest::newRow("no markup") << QStringList{"actions", "body"} << "<b>1 &amp; 2";
    QTest::newRow("nothing") << QStringList() << "<b>1 &amp; 2";
}

void DesktopNotificationCenterTest::escapesTheTextWhereTheServerReadsMarkup() {
    QFETCH(QStringList, capabilities);
    QFETCH(QString, body);
    serve();
    _server->capabilities = capabilities;
    const auto center = newCenter();
    UserNotification marked = notification(QStringLiteral("<i>T"));
    marked.informativeText = QStringLiteral("<b>1 &amp; 2");
    center->deliverNotification(marked);
    QTRY_COMPARE(_server->deliveries.size(), 1U);
    QCOMPARE(_server->deliveries[0].body, body);
    QCOMPARE(_server->deliveries[0].summary, QStringLiteral("<i>T"));
}

void DesktopNotificationCenterTest::sendsTextsThatTheBusCanCarry() {
    serve();
    const auto center = newCenter();
    UserNotification odd;
    odd.title = QStringLiteral("a") + QChar(QChar::Null) + QChar(0xd800) + QStringLiteral("b");
    odd.informativeText = QStringLiteral("x") + QStringLiteral("\U0001F4F0").repeated(1000000);
    center->deliverNotification(odd);
    center->deliverNotification(UserNotification());
    QTRY_COMPARE(_server->deliveries.size(), 2U);
    QVERIFY(_server->deliveries[0].summary.startsWith(QLatin1Char('a')));
    QVERIFY(_server->deliveries[0].summary.endsWith(QLatin1Char('b')));
    QCOMPARE(_server->deliveries[0].body.size(), 4095);
    QVERIFY(_server->deliveries[0].body.endsWith(QStringLiteral("\U0001F4F0")));
    QVERIFY(_server->deliveries[1].summary.isEmpty());
    // The centre's list holds the texts as the caller delivered them, not as they were adapted for
    // the server.
    QCOMPARE(center->deliveredNotifications().at(0).informativeText, odd.informativeText);
}

void DesktopNotificationCenterTest::givesEachDeliveryAnIdentityOfItsOwn() {
    serve();
    const auto center = newCenter();
    const UserNotification first = deliverAndWait(*center, QStringLiteral("same"));
    center->deliverNotification(first);
    const auto list = center->deliveredNotifications();
    QCOMPARE(list.size(), 2);
    QVERIFY(!list[0].identity.isEmpty());
    QVERIFY(list[0].identity != list[1].identity);
}

void DesktopNotificationCenterTest::listsWhatIsOnItsWay() {
    serve();
    _server->holdsAnswers = true;
    const auto center = newCenter();
    center->deliverNotification(notification(QStringLiteral("one")));
    center->deliverNotification(notification(QStringLiteral("two")));
    QCOMPARE(titles(*center), (QStringList{QStringLiteral("one"), QStringLiteral("two")}));
    QCOMPARE(center->deliveredNotifications().at(0).userInfo.value(QStringLiteral("key")),
             QVariant(QStringLiteral("one")));
    QTRY_COMPARE(_server->deliveries.size(), 1U);
    QCOMPARE(titles(*center).size(), 2);
    _server->answer(0, 5);
    QTRY_COMPARE(_server->deliveries.size(), 2U);
    QCOMPARE(titles(*center).size(), 2);
    // The first notification is in the registry, although the server has not replied about the
    // second one.
    QTRY_COMPARE(registered().size(), 1U);
    QCOMPARE(registered()[0].notification.title, QStringLiteral("one"));
}

void DesktopNotificationCenterTest::withdrawsOneWhileTheNextIsOnItsWay() {
    serve();
    _server->holdsAnswers = true;
    const auto center = newCenter();
    center->deliverNotification(notification(QStringLiteral("one")));
    center->deliverNotification(notification(QStringLiteral("two")));
    QTRY_COMPARE(_server->deliveries.size(), 1U);
    center->removeDeliveredNotification(center->deliveredNotifications().constFirst());
    _server->answer(0, 5);
    QTRY_COMPARE(_server->deliveries.size(), 2U);
    QTRY_COMPARE(_server->closeCalls, QList<quint32>{5});
}

void DesktopNotificationCenterTest::cancelsOneThatWaitsForAServer() {
    const auto center = newCenter();
    center->deliverNotification(notification(QStringLiteral("cancelled")));
    center->deliverNotification(notification(QStringLiteral("kept")));
    QVERIFY(center->flush(std::chrono::milliseconds(testPatience)));
    center->removeDeliveredNotification(center->deliveredNotifications().constFirst());
    QCOMPARE(titles(*center), QStringList{QStringLiteral("kept")});

    serve();
    QTRY_COMPARE(registered().size(), 1U);
    QCOMPARE(_server->deliveries.size(), 1U);
    QCOMPARE(_server->deliveries[0].summary, QStringLiteral("kept"));
}

void DesktopNotificationCenterTest::withdrawsOneWhoseNumberComesLater() {
    serve();
    _server->holdsAnswers = true;
    const auto center = newCenter();
    center->deliverNotification(notification(QStringLiteral("late")));
    QTRY_COMPARE(_server->deliveries.size(), 1U);
    center->removeDeliveredNotification(center->deliveredNotifications().constFirst());
    QVERIFY(center->deliveredNotifications().isEmpty());
    QVERIFY(!center->flush(milliseconds(100)));
    QVERIFY(_server->closeCalls.isEmpty());

    _server->answer(0, 17);
    QTRY_COMPARE(_server->closeCalls, QList<quint32>{17});
    QTRY_VERIFY(registered().empty());
    QVERIFY(center->deliveredNotifications().isEmpty());
}

void DesktopNotificationCenterTest::forgetsOneThatTheServerRefuses() {
    serve();
    _server->refuses = true;
    const auto center = newCenter();
    center->deliverNotification(notification(QStringLiteral("refused")));
    QTRY_VERIFY(center->deliveredNotifications().isEmpty());
    _server->refuses = false;
    deliverAndWait(*center, QStringLiteral("next"));
    QCOMPARE(_server->deliveries.size(), 2U);
}

void DesktopNotificationCenterTest::keepsOneThatExpired_data() {
    QTest::addColumn<quint32>("reason");
    QTest::addColumn<bool>("kept");
    QTest::newRow("expired") << 1U << true;
    QTest::newRow("dismissed") << 2U << false;
    QTest::newRow("closed by a program") << 3U << false;
    QTest::newRow("undefined") << 4U << true;
    QTest::newRow("unheard of") << 77U << true;
}

void DesktopNotificationCenterTest::keepsOneThatExpired() {
    QFETCH(quint32, reason);
    QFETCH(bool, kept);
    serve();
    const auto center = newCenter();
    deliverAndWait(*center, QStringLiteral("one"));
    _server->emitSignal(QStringLiteral("NotificationClosed"), {1U, reason});
    // Signals arrive in order. The second signal removes "two"; once that has happened, the first
    // signal has been processed, too.
    deliverAndWait(*center, QStringLiteral("two"));
    _server->emitSignal(QStringLiteral("NotificationClosed"), {2U, 2U});
    QTRY_VERIFY(!titles(*center).contains(QStringLiteral("two")));
    QCOMPARE(titles(*center).contains(QStringLiteral("one")), kept);
    QTRY_COMPARE(registered().size(), kept ? 1U : 0U);
}

void DesktopNotificationCenterTest::endsOneThatWasClosedBeforeItsNumberCame() {
    serve();
    _server->holdsAnswers = true;
    const auto center = newCenter();
    center->deliverNotification(notification(QStringLiteral("quick")));
    QTRY_COMPARE(_server->deliveries.size(), 1U);
    _server->emitSignal(QStringLiteral("NotificationClosed"), {9U, 2U});
    _server->answer(0, 9);
    QTRY_VERIFY(center->deliveredNotifications().isEmpty());
}

void DesktopNotificationCenterTest::remembersOnlySoManySignalsDuringADelivery_data() {
    QTest::addColumn<QString>("signal");
    QTest::addColumn<QVariant>("argument");
    QTest::addColumn<quint32>("foreign");
    QTest::addColumn<bool>("isRemembered");
    // The centre remembers at most 64 signals during a delivery, so that other programs'
    // notifications cannot fill the memory.
    for (const quint32 foreign : {63U, 64U}) {
        QTest::addRow("closed, after %u", foreign)
            << "NotificationClosed" << QVariant(2U) << foreign << (foreign < 64);
        QTest::addRow("clicked, after %u", foreign)
            << "ActionInvoked" << QVariant("default") << foreign << (foreign < 64);
    }
}

void DesktopNotificationCenterTest::remembersOnlySoManySignalsDuringADelivery() {
    QFETCH(QString, signal);
    QFETCH(QVariant, argument);
    QFETCH(quint32, foreign);
    QFETCH(bool, isRemembered);
    serve();
    _server->holdsAnswers = true;
    const auto center = newCenter();
    center->deliverNotification(notification(QStringLiteral("ours")));
    QTRY_COMPARE(_server->deliveries.size(), 1U);
    constexpr quint32 firstForeign = 100;
    for (quint32 id = firstForeign; id < firstForeign + foreign; ++id)
        _server->emitSignal(signal, {id, argument});
    _server->emitSignal(signal, {9U, argument});
    _server->answer(0, 9);
    QTRY_VERIFY(center->flush(milliseconds(10)));
    QCOMPARE(titles(*center).isEmpty(), isRemembered);
}

void DesktopNotificationCenterTest::forgetsTheSignalsDuringAnEarlierDelivery_data() {
    QTest::addColumn<QString>("signal");
    QTest::addColumn<QVariant>("argument");
    QTest::newRow("closed") << "NotificationClosed" << QVariant(2U);
    QTest::newRow("clicked") << "ActionInvoked" << QVariant("default");
}

/// Another program's notification ends, and the server gives the same id to our next one.
void DesktopNotificationCenterTest::forgetsTheSignalsDuringAnEarlierDelivery() {
    QFETCH(QString, signal);
    QFETCH(QVariant, argument);
    serve();
    _server->holdsAnswers = true;
    const auto center = newCenter();
    center->deliverNotification(notification(QStringLiteral("one")));
    center->deliverNotification(notification(QStringLiteral("two")));
    QTRY_COMPARE(_server->deliveries.size(), 1U);
    _server->emitSignal(signal, {7U, argument});
    _server->answer(0, 1);
    QTRY_COMPARE(_server->deliveries.size(), 2U);
    _server->answer(1, 7);
    QTRY_VERIFY(center->flush(milliseconds(10)));
    QCOMPARE(titles(*center), (QStringList{QStringLiteral("one"), QStringLiteral("two")}));
}

void DesktopNotificationCenterTest::readsTheRegistryOnceForAllOtherProgramsNotifications() {
    serve();
    const auto center = newCenter();
    deliverAndWait(*center, QStringLiteral("ours"));
    // Wait: until two seconds after its last change, the file is read each time, because another
    // change within the same tick of the file system's clock might leave its timestamps as they
    // are.
    QTest::qWait(2100);
    // Watch opening and closing, too: inotify merges consecutive equal events, so two reads with no
    // other event between them would count as one.
    const int watch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    const QByteArray file = NotificationRegistry(stateFolder()).path().toUtf8();
    constexpr uint32_t watched = IN_OPEN | IN_ACCESS | IN_CLOSE_NOWRITE | IN_DELETE_SELF;
    QVERIFY(::inotify_add_watch(watch, file.constData(), watched) >= 0);
    constexpr quint32 firstForeign = 100;
    for (quint32 id = firstForeign; id < firstForeign + 300; ++id)
        _server->emitSignal(QStringLiteral("NotificationClosed"), {id, 2U});
    _server->emitSignal(QStringLiteral("NotificationClosed"), {1U, 2U});

    // The last signal is about our own notification. It changes the registry, so the file is
    // replaced.
    int opened = 0;
    int read = 0;
    bool replaced = false;
    const auto look = [&] {
        inotify_event event{};
        while (::read(watch, &event, sizeof event) == sizeof event) {
            opened += (event.mask & IN_OPEN) != 0 ? 1 : 0;
            read += (event.mask & IN_ACCESS) != 0 ? 1 : 0;
            replaced = replaced || (event.mask & IN_DELETE_SELF) != 0;
        }
        return replaced;
    };
    QTRY_VERIFY(look());
    ::close(watch);
    QVERIFY2(opened >= 300, "each signal must check whether the file has changed");
    QCOMPARE(read, 1);
    QVERIFY(center->deliveredNotifications().isEmpty());
}

void DesktopNotificationCenterTest::ignoresSignalsOfOtherProgramsNotifications() {
    serve();
    const auto center = newCenter();
    const auto delegate = std::make_shared<RecordingDelegate>();
    center->setDelegate(delegate);
    deliverAndWait(*center, QStringLiteral("ours"));
    _server->emitSignal(QStringLiteral("ActionInvoked"), {99U, QStringLiteral("default")});
    _server->emitSignal(QStringLiteral("NotificationClosed"), {99U, 2U});
    _server->emitSignal(QStringLiteral("NotificationClosed"), {QStringLiteral("1"), 2U});
    _server->emitSignal(QStringLiteral("NotificationClosed"), {});
    _server->emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("default")});
    QTRY_COMPARE(delegate->activated.size(), 1);
    QCOMPARE(delegate->activated[0].title, QStringLiteral("ours"));
    QTRY_COMPARE(_server->closeCalls, QList<quint32>{1});
}

void DesktopNotificationCenterTest::ignoresSignalsOfOthersThanTheServer() {
    serve();
    const auto center = newCenter();
    deliverAndWait(*center, QStringLiteral("ours"));
    const QString name = QStringLiteral("impostor");
    {
        QDBusConnection other = QDBusConnection::connectToBus(_bus->address(), name);
        QDBusMessage signal = QDBusMessage::createSignal(
            QStringLiteral("/org/freedesktop/Notifications"),
            QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("NotificationClosed"));
        signal << 1U << 2U;
        QVERIFY(other.send(signal));
    }
    QDBusConnection::disconnectFromBus(name);
    deliverAndWait(*center, QStringLiteral("second"));
    QCOMPARE(titles(*center), (QStringList{QStringLiteral("ours"), QStringLiteral("second")}));
}

void DesktopNotificationCenterTest::endsOneThatWasClickedAndTellsTheDelegate() {
    serve();
    const auto center = newCenter();
    const auto delegate = std::make_shared<RecordingDelegate>();
    center->setDelegate(delegate);
    const UserNotification delivered = deliverAndWait(*center, QStringLiteral("one"));
    _server->emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("default")});
    QTRY_COMPARE(delegate->activated.size(), 1);
    QVERIFY(!delegate->wasOffMainThread);
    QCOMPARE(delegate->activated[0], delivered);
    QVERIFY(center->deliveredNotifications().isEmpty());
    QTRY_COMPARE(_server->closeCalls, QList<quint32>{1});
    QTRY_VERIFY(registered().empty());

    // The server's signal that the notification is closed, and a second click, are ignored.
    _server->emitSignal(QStringLiteral("NotificationClosed"), {1U, 2U});
    _server->emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("default")});
    deliverAndWait(*center, QStringLiteral("two"));
    QCoreApplication::processEvents();
    QCOMPARE(delegate->activated.size(), 1);
}

void DesktopNotificationCenterTest::handsOverTheActivationToken() {
    serve();
    const auto center = newCenter();
    const auto delegate = std::make_shared<RecordingDelegate>();
    center->setDelegate(delegate);
    deliverAndWait(*center, QStringLiteral("one"));
    deliverAndWait(*center, QStringLiteral("two"));
    _server->emitSignal(QStringLiteral("ActivationToken"), {2U, QStringLiteral("token-2")});
    _server->emitSignal(QStringLiteral("ActionInvoked"), {2U, QStringLiteral("default")});
    _server->emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("default")});
    QTRY_COMPARE(delegate->activated.size(), 2);
    QCOMPARE(delegate->activated[0].activationToken, QStringLiteral("token-2"));
    QVERIFY(delegate->activated[1].activationToken.isNull());
}

void DesktopNotificationCenterTest::handsOverNoTokenOfAnEarlierServer() {
    const QString name = QStringLiteral("old-server");
    auto old = std::make_unique<FakeNotificationServer>(
        QDBusConnection::connectToBus(_bus->address(), name));
    const auto center = newCenter();
    const auto delegate = std::make_shared<RecordingDelegate>();
    center->setDelegate(delegate);
    deliverAndWait(*center, QStringLiteral("old"));
    old->emitSignal(QStringLiteral("ActivationToken"), {1U, QStringLiteral("stale")});
    // The server replies to this delivery after it has sent the token, so the centre has received
    // the token.
    deliverAndWait(*center, QStringLiteral("second"));
    old.reset();
    QDBusConnection::disconnectFromBus(name);
    QTRY_VERIFY(center->deliveredNotifications().isEmpty());

    serve();
    deliverAndWait(*center, QStringLiteral("new"));
    _server->emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("default")});
    QTRY_COMPARE(delegate->activated.size(), 1);
    QCOMPARE(delegate->activated[0].title, QStringLiteral("new"));
    QVERIFY(delegate->activated[0].activationToken.isNull());
}

void DesktopNotificationCenterTest::asksTheDelegateBeforeItPresents() {
    serve();
    const auto center = newCenter();
    const auto delegate = std::make_shared<RecordingDelegate>();
    center->setDelegate(delegate);
    std::thread([&center] {
        center->deliverNotification(notification(QStringLiteral("one")));
    }).join();
    // `deliverNotification` does not call the delegate itself, and nothing is presented before the
    // delegate has been asked.
    QVERIFY(delegate->asked.isEmpty());
    QCOMPARE(titles(*center), QStringList{QStringLiteral("one")});
    QTest::qSleep(200);
    QCOMPARE(_server->deliveries.size(), 0U);
    QTRY_COMPARE(_server->deliveries.size(), 1U);
    QCOMPARE(delegate->asked.size(), 1);
    QCOMPARE(delegate->asked[0].title, QStringLiteral("one"));
    QVERIFY(!delegate->wasOffMainThread);
}

void DesktopNotificationCenterTest::dropsWhatTheDelegateDoesNotWantPresented() {
    serve();
    const auto center = newCenter();
    const auto delegate = std::make_shared<RecordingDelegate>();
    delegate->presents = false;
    center->setDelegate(delegate);
    center->deliverNotification(notification(QStringLiteral("unwanted")));
    QTRY_VERIFY(center->deliveredNotifications().isEmpty());
    delegate->presents = true;
    deliverAndWait(*center, QStringLiteral("wanted"));
    QCOMPARE(_server->deliveries.size(), 1U);
    QCOMPARE(_server->deliveries[0].summary, QStringLiteral("wanted"));
}

void DesktopNotificationCenterTest::doesNotKeepTheDelegateAlive() {
    serve();
    const auto center = newCenter();
    auto delegate = std::make_shared<RecordingDelegate>();
    const std::weak_ptr<RecordingDelegate> watched = delegate;
    center->setDelegate(delegate);
    center->deliverNotification(notification(QStringLiteral("one")));
    delegate.reset();
    QVERIFY(watched.expired());
    QTRY_COMPARE(_server->deliveries.size(), 1U);
    QTRY_COMPARE(registered().size(), 1U);
    _server->emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("default")});
    QTRY_VERIFY(center->deliveredNotifications().isEmpty());
}

void DesktopNotificationCenterTest::keepsTheNewestOfWhatWaitsForAServer() {
    const auto center = newCenter();
    for (int i = 0; i < 20; ++i)
        center->deliverNotification(notification(QString::number(i)));
    const QStringList waiting = titles(*center);
    QCOMPARE(waiting.size(), 16);
    QCOMPARE(waiting.constFirst(), QStringLiteral("4"));
    QCOMPARE(waiting.constLast(), QStringLiteral("19"));
}

void DesktopNotificationCenterTest::presentsWhatWaitedWhenAServerComes() {
    const auto center = newCenter();
    center->deliverNotification(notification(QStringLiteral("early")));
    QVERIFY(center->flush(std::chrono::milliseconds(testPatience)));
    QCOMPARE(titles(*center), QStringList{QStringLiteral("early")});
    serve();
    QTRY_COMPARE(_server->deliveries.size(), 1U);
    QTRY_COMPARE(registered().size(), 1U);
    QCOMPARE(titles(*center), QStringList{QStringLiteral("early")});
}

void DesktopNotificationCenterTest::presentsAgainWhatAServerTookAndNeverAnswered_data() {
    QTest::addColumn<bool>("isTakenBack");
    QTest::newRow("kept") << false;
    QTest::newRow("taken back") << true;
}

void DesktopNotificationCenterTest::presentsAgainWhatAServerTookAndNeverAnswered() {
    QFETCH(bool, isTakenBack);
    const QString name = QStringLiteral("first-server");
    auto dying = std::make_unique<FakeNotificationServer>(
        QDBusConnection::connectToBus(_bus->address(), name));
    dying->holdsAnswers = true;
    const auto center = newCenter();
    center->deliverNotification(notification(QStringLiteral("under way")));
    center->deliverNotification(notification(QStringLiteral("next")));
    QTRY_COMPARE(dying->deliveries.size(), 1U);
    if (isTakenBack)
        center->removeDeliveredNotification(center->deliveredNotifications().constFirst());
    const QStringList expected = titles(*center);
    QCOMPARE(expected.size(), isTakenBack ? 1 : 2);
    dying.reset();
    QDBusConnection::disconnectFromBus(name);

    serve();
    QTRY_COMPARE(registered().size(), std::size_t(expected.size()));
    QCOMPARE(titles(*center), expected);
    QCOMPARE(_server->deliveries.size(), std::size_t(expected.size()));
}

void DesktopNotificationCenterTest::asksNoSuccessorOfTheServerThatItKnows() {
    const QString name = QStringLiteral("first-server");
    auto first = std::make_unique<FakeNotificationServer>(
        QDBusConnection::connectToBus(_bus->address(), name));
    const auto center = newCenter();
    deliverAndWait(*center, QStringLiteral("one"));

    // The lock holds the worker up in its next change of the registry, so that it learns only later
    // that the server was replaced.
    QLockFile lock(NotificationRegistry(stateFolder()).path() + QStringLiteral(".lock"));
    QVERIFY(lock.lock());
    first->holdsTraits = true;
    first->emitSignal(QStringLiteral("NotificationClosed"), {1U, 2U});
    QTRY_VERIFY(center->deliveredNotifications().isEmpty());
    center->deliverNotification(notification(QStringLiteral("two")));
    first.reset();
    QDBusConnection::disconnectFromBus(name);
    serve();
    lock.unlock();

    QTRY_COMPARE(_server->deliveries.size(), 1U);
    // At most once when the first server has gone, and once when this one has come.
    QVERIFY2(_server->traitsCalls <= 2, qPrintable(QString::number(_server->traitsCalls)));
}

void DesktopNotificationCenterTest::stopsWhenServersKeepCrashing_data() {
    QTest::addColumn<bool>("crashesWhenAsked");
    QTest::newRow("on the notification") << false;
    QTest::newRow("on the query of its capabilities") << true;
}

void DesktopNotificationCenterTest::stopsWhenServersKeepCrashing() {
    QFETCH(bool, crashesWhenAsked);
    const auto center = newCenter();
    center->deliverNotification(notification(QStringLiteral("deadly")));
    for (int number = 1; number <= 3; ++number) {
        const QString name = QStringLiteral("crashing-server-%1").arg(number);
        FakeNotificationServer crashing(QDBusConnection::connectToBus(_bus->address(), name));
        crashing.holdsAnswers = true;
        crashing.holdsTraits = crashesWhenAsked;
        QTRY_VERIFY(crashesWhenAsked ? crashing.traitsCalls > 0 : crashing.deliveries.size() == 1);
        QDBusConnection::disconnectFromBus(name);
    }
    serve();
    QTest::qWait(200);
    QCOMPARE(_server->traitsCalls, 0);
    QVERIFY(_server->deliveries.empty());
    QCOMPARE(titles(*center), QStringList{QStringLiteral("deadly")});

    // The next delivery makes the centre retry the failed one.
    center->deliverNotification(notification(QStringLiteral("next")));
    QTRY_COMPARE(registered().size(), 2U);
    QCOMPARE(titles(*center), (QStringList{QStringLiteral("deadly"), QStringLiteral("next")}));
}

void DesktopNotificationCenterTest::presentsAgainWhatDidNotReachTheServer_data() {
    QTest::addColumn<bool>("isTakenBack");
    QTest::newRow("kept") << false;
    QTest::newRow("taken back") << true;
}

/// Simulates a server that forwards deliveries to another program: that program once does not
/// answer, so the server replies with an error.
void DesktopNotificationCenterTest::presentsAgainWhatDidNotReachTheServer() {
    QFETCH(bool, isTakenBack);
    serve();
    _server->holdsAnswers = true;
    const auto center = newCenter();
    center->deliverNotification(notification(QStringLiteral("lost")));
    QTRY_COMPARE(_server->deliveries.size(), 1U);
    if (isTakenBack)
        center->removeDeliveredNotification(center->deliveredNotifications().constFirst());
    _server->holdsAnswers = false;
    _server->fail(0, QDBusError::NoReply);
    QTRY_VERIFY(center->flush(milliseconds(10)));
    QStringList expected;
    if (!isTakenBack)
        expected.append(QStringLiteral("lost"));
    QCOMPARE(titles(*center), expected);

    // The lost notification, unless it was withdrawn, is sent again with the next one.
    center->deliverNotification(notification(QStringLiteral("next")));
    expected.append(QStringLiteral("next"));
    QTRY_COMPARE(registered().size(), std::size_t(expected.size()));
    QCOMPARE(titles(*center), expected);
    QCOMPARE(_server->deliveries.size(), std::size_t(1 + expected.size()));
}

void DesktopNotificationCenterTest::sendsNothingToAServerThatDoesNotSayWhatItCan() {
    serve();
    _server->tellsTraits = false;
    _server->traitsError = QDBusError::AccessDenied;
    const auto center = newCenter();
    center->deliverNotification(notification(QStringLiteral("early")));
    QTRY_VERIFY(center->flush(milliseconds(10)));
    QCOMPARE(_server->deliveries.size(), 0U);
    QCOMPARE(titles(*center), QStringList{QStringLiteral("early")});

    _server->tellsTraits = true;
    deliverAndWait(*center, QStringLiteral("late"));
    QCOMPARE(titles(*center), (QStringList{QStringLiteral("early"), QStringLiteral("late")}));
    QCOMPARE(_server->deliveries.size(), 2U);
}

void DesktopNotificationCenterTest::hasTheBusStartAServer() {
    // A "server" that only creates a file: the test checks only that it was started.
    const QString mark = _home->filePath(QStringLiteral("started"));
    QFile file(_home->filePath(QStringLiteral("n.service")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[D-BUS Service]\nName=org.freedesktop.Notifications\nExec=/bin/sh -c \"touch '" +
               mark.toUtf8() + "'; exit 1\"\n");
    file.close();
    _bus = std::make_unique<PrivateBus>(_home->path());
    const auto center = newCenter();
    center->deliverNotification(notification(QStringLiteral("one")));
    QTRY_VERIFY(QFile::exists(mark));
    // The program has ended without becoming a server; the notification stays queued.
    QVERIFY(center->flush(std::chrono::milliseconds(testPatience)));
    QCOMPARE(titles(*center), QStringList{QStringLiteral("one")});
}

void DesktopNotificationCenterTest::dropsTheListWhenTheServerIsReplaced() {
    const QString name = QStringLiteral("old-server");
    auto old = std::make_unique<FakeNotificationServer>(
        QDBusConnection::connectToBus(_bus->address(), name));
    const auto center = newCenter();
    deliverAndWait(*center, QStringLiteral("old"));
    old.reset();
    QDBusConnection::disconnectFromBus(name);
    QTRY_VERIFY(center->deliveredNotifications().isEmpty());
    QTRY_VERIFY(registered().empty());

    serve();
    deliverAndWait(*center, QStringLiteral("new"));
    QCOMPARE(titles(*center), QStringList{QStringLiteral("new")});
    QCOMPARE(_server->deliveries.size(), 1U);
}

void DesktopNotificationCenterTest::dropsTheListWithoutARegistryToo() {
    QFile file(stateFolder());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    serve();
    const auto center = newCenter();
    center->deliverNotification(notification(QStringLiteral("old")));
    QTRY_COMPARE(_server->deliveries.size(), 1U);
    QTest::qWait(100);
    _server.reset();
    QTRY_VERIFY(center->deliveredNotifications().isEmpty());
}

void DesktopNotificationCenterTest::dropsTheRegistryOfAnotherBus() {
    serve();
    deliverAndWait(*newCenter(), QStringLiteral("old"));
    _server.reset();
    _bus = std::make_unique<PrivateBus>();
    serve();
    const auto center = newCenter();
    // Entries of the file are assumed valid until the bus has replied, so that the caller does not
    // wait.
    QCOMPARE(titles(*center), QStringList{QStringLiteral("old")});
    QTRY_VERIFY(center->deliveredNotifications().isEmpty());
    QTRY_VERIFY(registered().empty());
    QVERIFY(_server->closeCalls.isEmpty());
}

void DesktopNotificationCenterTest::survivesTheLossOfTheBus() {
    serve();
    const auto center = newCenter();
    deliverAndWait(*center, QStringLiteral("one"));
    _server.reset();
    _bus->stop();
    QTRY_VERIFY(center->deliveredNotifications().isEmpty());
    center->deliverNotification(notification(QStringLiteral("two")));
    QVERIFY(center->flush(std::chrono::milliseconds(testPatience)));
    QCOMPARE(titles(*center), QStringList{QStringLiteral("two")});
}

void DesktopNotificationCenterTest::connectsAgainAfterTheLossOfTheBus() {
    PrivateBus next;
    const FakeNotificationServer serverOfNext(next.connection());
    serve();
    NotificationSender origin = sender();
    // The second bus address is used once nobody answers at the first.
    origin.busAddress += QLatin1Char(';') + next.address();
    DesktopNotificationCenter center(origin);
    deliverAndWait(center, QStringLiteral("one"));
    QCOMPARE(_server->deliveries.size(), 1U);
    // Keep the first server until the loss of the bus is known. If the server ended earlier, its
    // end would empty the list, and the next delivery would still go to the first bus.
    _bus->stop();
    QTRY_VERIFY(center.deliveredNotifications().isEmpty());
    _server.reset();

    deliverAndWait(center, QStringLiteral("two"));
    QCOMPARE(serverOfNext.deliveries.size(), 1U);
    QCOMPARE(titles(center), QStringList{QStringLiteral("two")});
}

void DesktopNotificationCenterTest::worksWithoutABus() {
    NotificationSender nowhere = sender();
    nowhere.busAddress = QStringLiteral("unix:path=/nonexistent/bus");
    DesktopNotificationCenter center(nowhere);
    center.deliverNotification(notification(QStringLiteral("one")));
    QVERIFY(center.flush(std::chrono::milliseconds(testPatience)));
    QCOMPARE(titles(center), QStringList{QStringLiteral("one")});
    center.removeDeliveredNotification(center.deliveredNotifications().constFirst());
    QVERIFY(center.deliveredNotifications().isEmpty());
}

void DesktopNotificationCenterTest::worksWithoutAStateFolder() {
    QFile file(stateFolder());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    serve();
    const auto center = newCenter();
    center->deliverNotification(notification(QStringLiteral("one")));
    QTRY_COMPARE(_server->deliveries.size(), 1U);
    QTest::qWait(100);
    center->removeDeliveredNotification(center->deliveredNotifications().constFirst());
    QTRY_COMPARE(_server->closeCalls, QList<quint32>{1});
    QVERIFY(center->deliveredNotifications().isEmpty());
}

void DesktopNotificationCenterTest::savesEachChangeOnce() {
    serve();
    const auto center = newCenter();
    const NotificationRegistry registry(stateFolder());
    // Each change of the file increments its serial number.
    center->deliverNotification(notification(QStringLiteral("one")));
    QTRY_VERIFY(center->flush(milliseconds(10)));
    QCOMPARE(registry.read()->serial, 1U);
    center->deliverNotification(notification(QStringLiteral("two")));
    QTRY_VERIFY(center->flush(milliseconds(10)));
    QCOMPARE(registry.read()->serial, 2U);
    _server->emitSignal(QStringLiteral("NotificationClosed"), {1U, 2U});
    center->deliverNotification(notification(QStringLiteral("three")));
    QTRY_VERIFY(center->flush(milliseconds(10)));
    QCOMPARE(registry.read()->serial, 4U);
    QCOMPARE(titles(*center), (QStringList{QStringLiteral("two"), QStringLiteral("three")}));
}

void DesktopNotificationCenterTest::savesWhenTheRegistryIsFreeAgain() {
    serve();
    const auto center = newCenter();
    deliverAndWait(*center, QStringLiteral("one"));
    QLockFile lock(NotificationRegistry(stateFolder()).path() + QStringLiteral(".lock"));
    QVERIFY(lock.lock());
    center->deliverNotification(notification(QStringLiteral("two")));
    QTRY_COMPARE(_server->deliveries.size(), 2U);
    QVERIFY(!center->flush(milliseconds(300)));
    QCOMPARE(titles(*center).size(), 2);
    // Wait longer than the retries that the delivery itself causes.
    QTest::qWait(800);
    QCOMPARE(registered().size(), 1U);
    lock.unlock();
    QTRY_COMPARE(registered().size(), 2U);
    QVERIFY(center->flush(std::chrono::milliseconds(testPatience)));
}

void DesktopNotificationCenterTest::survivesACorruptRegistry() {
    serve();
    deliverAndWait(*newCenter(), QStringLiteral("old"));
    QFile file(NotificationRegistry(stateFolder()).path());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("{\"version\": 1, ");
    file.close();
    const auto center = newCenter();
    QVERIFY(center->deliveredNotifications().isEmpty());
    center->deliverNotification(notification(QStringLiteral("new")));
    QTRY_COMPARE(registered().size(), 1U);
    QCOMPARE(titles(*center), QStringList{QStringLiteral("new")});
}

void DesktopNotificationCenterTest::knowsAtOnceWhatAnEarlierRunDelivered() {
    serve();
    const QDateTime date = QDateTime::fromMSecsSinceEpoch(1234567890123, Qt::UTC);
    {
        const auto earlier = newCenter();
        UserNotification dated = notification(QStringLiteral("earlier"));
        dated.userInfo.insert(QStringLiteral("originationDate"), date);
        earlier->deliverNotification(dated);
        QTRY_COMPARE(registered().size(), 1U);
    }
    const auto center = newCenter();
    const auto delegate = std::make_shared<RecordingDelegate>();
    center->setDelegate(delegate);
    const auto list = center->deliveredNotifications();
    QCOMPARE(list.size(), 1);
    QCOMPARE(list[0].userInfo.value(QStringLiteral("originationDate")).toDateTime(), date);

    // The click is reported although this centre delivered nothing: the registry has the
    // notification.
    QVERIFY(center->flush(std::chrono::milliseconds(testPatience)));
    _server->emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("default")});
    QTRY_COMPARE(delegate->activated.size(), 1);
    QCOMPARE(delegate->activated[0].title, QStringLiteral("earlier"));
    QTRY_VERIFY(registered().empty());
}

void DesktopNotificationCenterTest::savesAWithdrawalThatTheServerHasNotConfirmed() {
    serve();
    const auto center = newCenter();
    const UserNotification delivered = deliverAndWait(*center, QStringLiteral("one"));
    ::kill(static_cast<pid_t>(_bus->processId()), SIGSTOP);
    center->removeDeliveredNotification(delivered);
    const bool isSaved = QTest::qWaitFor(
        [this] {
            const auto entries = registered();
            return entries.size() == 1 && entries[0].withdrawn;
        },
        testPatience);
    ::kill(static_cast<pid_t>(_bus->processId()), SIGCONT);
    QVERIFY(isSaved);
    QTRY_COMPARE(_server->closeCalls, QList<quint32>{1});
    QTRY_VERIFY(registered().empty());
}

void DesktopNotificationCenterTest::finishesAWithdrawalOfAnEarlierRun() {
    serve();
    deliverAndWait(*newCenter(), QStringLiteral("earlier"));
    const NotificationRegistry registry(stateFolder());
    RegistryChange change;
    const auto contents = registry.read();
    change.bus = contents->bus;
    change.server = contents->server;
    change.put = contents->entries;
    change.put[0].withdrawn = true;
    QVERIFY(registry.apply(change));

    const auto center = newCenter();
    QVERIFY(center->deliveredNotifications().isEmpty());
    QTRY_COMPARE(_server->closeCalls, QList<quint32>{1});
    QTRY_VERIFY(registered().empty());
}

void DesktopNotificationCenterTest::actsOnAnEarlierRunsClickOnceTheRegistryIsFree() {
    serve();
    deliverAndWait(*newCenter(), QStringLiteral("earlier"));
    const auto center = newCenter();
    const auto delegate = std::make_shared<RecordingDelegate>();
    center->setDelegate(delegate);
    QVERIFY(center->flush(std::chrono::milliseconds(testPatience)));
    QLockFile lock(NotificationRegistry(stateFolder()).path() + QStringLiteral(".lock"));
    QVERIFY(lock.lock());
    _server->emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("default")});
    QTRY_VERIFY(center->deliveredNotifications().isEmpty());
    // Another process that received the click may have erased the entry. This process acts only if
    // it has erased the entry itself, for which it needs the lock.
    QTest::qWait(static_cast<int>(NotificationRegistry::lockTimeout.count()) + 200);
    QVERIFY(delegate->activated.isEmpty());
    lock.unlock();
    QTRY_COMPARE(delegate->activated.size(), 1);
    QCOMPARE(delegate->activated[0].title, QStringLiteral("earlier"));
    QVERIFY(registered().empty());
}

void DesktopNotificationCenterTest::leavesAClickToTheProcessThatDelivered() {
    serve();
    const auto first = newCenter();
    const auto second = newCenter();
    const auto firstDelegate = std::make_shared<RecordingDelegate>();
    const auto secondDelegate = std::make_shared<RecordingDelegate>();
    first->setDelegate(firstDelegate);
    second->setDelegate(secondDelegate);
    deliverAndWait(*first, QStringLiteral("of the first"));
    QCOMPARE(titles(*second), QStringList{QStringLiteral("of the first")});
    deliverAndWait(*second, QStringLiteral("of the second"));
    QCOMPARE(titles(*first).size(), 2);

    _server->emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("default")});
    QTRY_COMPARE(firstDelegate->activated.size(), 1);
    QTRY_COMPARE(registered().size(), 1U);
    QTest::qWait(100);
    QCOMPARE(secondDelegate->activated.size(), 0);

    // Each process may withdraw what the other delivered.
    first->removeDeliveredNotification(first->deliveredNotifications().constFirst());
    QTRY_VERIFY(_server->closeCalls.contains(2U));
    QTRY_VERIFY(registered().empty());
    QVERIFY(second->deliveredNotifications().isEmpty());
}

void DesktopNotificationCenterTest::neverBlocksOnAHungBus() {
    serve();
    deliverAndWait(*newCenter(), QStringLiteral("earlier"));
    ::kill(static_cast<pid_t>(_bus->processId()), SIGSTOP);

    QElapsedTimer timer;
    timer.start();
    auto center = newCenter();
    center->setDelegate(std::make_shared<RecordingDelegate>());
    center->deliverNotification(notification(QStringLiteral("one")));
    QCOMPARE(titles(*center).size(), 2);
    center->removeDeliveredNotification(center->deliveredNotifications().constFirst());
    QCOMPARE(titles(*center), QStringList{QStringLiteral("one")});
    QVERIFY2(std::chrono::milliseconds(timer.elapsed()) < maxBlocked,
             qPrintable(QString::number(timer.elapsed())));
    QVERIFY(!center->flush(milliseconds(100)));
    center.reset();
    QVERIFY2(std::chrono::milliseconds(timer.elapsed()) < maxBlocked,
             qPrintable(QString::number(timer.elapsed())));
    ::kill(static_cast<pid_t>(_bus->processId()), SIGCONT);
    QTest::qWait(200);
}

void DesktopNotificationCenterTest::worksFromManyThreadsAtOnce() {
    serve();
    const auto center = newCenter();
    center->setDelegate(std::make_shared<RecordingDelegate>());
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&center, t] {
            for (int i = 0; i < 25; ++i) {
                center->deliverNotification(notification(QString::number(100 * t + i)));
                const auto list = center->deliveredNotifications();
                if (!list.isEmpty())
                    center->removeDeliveredNotification(list.constLast());
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    const auto rest = center->deliveredNotifications();
    for (const UserNotification &each : rest)
        center->removeDeliveredNotification(each);
    QVERIFY(center->deliveredNotifications().isEmpty());

    // Every notification that reached the server was withdrawn.
    QTRY_VERIFY(center->flush(milliseconds(10)));
    QCOMPARE(std::size_t(_server->closeCalls.size()), _server->deliveries.size());
    QVERIFY(registered().empty());
}

void DesktopNotificationCenterTest::goesNowhereAfterTheStop() {
    serve();
    const auto center = newCenter();
    const UserNotification delivered = deliverAndWait(*center, QStringLiteral("one"));
    center->stop();
    QVERIFY(!center->isActive());
    center->deliverNotification(notification(QStringLiteral("two")));
    center->removeDeliveredNotification(delivered);
    QVERIFY(center->flush(std::chrono::milliseconds(testPatience)));
    QTest::qWait(50);
    QCOMPARE(_server->deliveries.size(), 1U);
    QVERIFY(_server->closeCalls.isEmpty());
    center->stop();
}

void DesktopNotificationCenterTest::endsItsThreadThoughTheDelegateIsYetToBeAsked() {
    serve();
    auto center = newCenter();
    const auto connections = [this] {
        return _bus->connection().interface()->registeredServiceNames().value().size();
    };
    const auto before = connections();
    deliverAndWait(*center, QStringLiteral("one"));
    QCOMPARE(connections(), before + 1);
    const auto delegate = std::make_shared<RecordingDelegate>();
    center->setDelegate(delegate);
    center->deliverNotification(notification(QStringLiteral("two")));
    center.reset();
    // No event loop runs here, so the delegate is not asked.
    const QDeadlineTimer deadline(testPatience);
    while (connections() != before && !deadline.hasExpired())
        QTest::qSleep(1);
    QCOMPARE(connections(), before);
    QVERIFY(delegate->asked.isEmpty());
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::DesktopNotificationCenterTest)

#include "DesktopNotificationCenterTest.moc"
