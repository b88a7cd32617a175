#include "FakeNotificationServer.h"
#include "NotificationTesting.h"
#include "PrivateBus.h"
#include "TestMain.h"
#include "TimeOfDay.h"
#include "notifications/NotificationThread.h"

#include <QDBusConnectionInterface>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <memory>
#include <sys/resource.h>

namespace pelorinnews::test {

using std::chrono::milliseconds;

/// Tests the worker and its thread without the notification centre.
class NotificationThreadTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void triesAgainWhereNoThreadCouldBeStarted();
    void endsAlsoWhereItHadNotBegun();
    void theEndReleasesWhoeverWaits();
    void nobodyWaitsLongerWhenTheClockIsSetBack();
    void theWorkerDisconnectsWhenItStops();
    void triesTenTimesMoreToSaveForEachRequest();

private:
    [[nodiscard]] NotificationSender sender() const {
        return senderOn(*_bus, _home->filePath(QStringLiteral("state")));
    }
    [[nodiscard]] std::unique_ptr<NotificationThread> newThread() const {
        return std::make_unique<NotificationThread>(sender(), _list, _progress,
                                                    [](const UserNotification &) {});
    }
    [[nodiscard]] std::unique_ptr<NotificationWorker> newWorker() const {
        return std::make_unique<NotificationWorker>(sender(), _list, _progress,
                                                    [](const UserNotification &) {});
    }
    void deliver() const {
        _list->add(notification(QStringLiteral("one")), NotificationList::Presentation::Asked);
    }
    [[nodiscard]] bool isSettled() const { return _progress->waitUntilSettled(milliseconds(0)); }
    [[nodiscard]] qsizetype connections() const {
        return _bus->connection().interface()->registeredServiceNames().value().size();
    }

    std::unique_ptr<QTemporaryDir> _home;
    std::unique_ptr<PrivateBus> _bus;
    std::unique_ptr<FakeNotificationServer> _server;
    std::shared_ptr<NotificationList> _list;
    std::shared_ptr<NotificationProgress> _progress;
};

void NotificationThreadTest::init() {
    _home = std::make_unique<QTemporaryDir>();
    _bus = std::make_unique<PrivateBus>();
    _server = std::make_unique<FakeNotificationServer>(_bus->connection());
    _list = std::make_shared<NotificationList>();
    _progress = std::make_shared<NotificationProgress>();
}

void NotificationThreadTest::cleanup() {
    _server.reset();
    _bus.reset();
    _home.reset();
}

/// The first test: a thread that has ended would leave its stack to the next.
void NotificationThreadTest::triesAgainWhereNoThreadCouldBeStarted() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(__clang__)
    QSKIP("sanitizers need more address space than this test allows");
#endif
    const auto thread = newThread();
    deliver();
    rlimit before{};
    QCOMPARE(::getrlimit(RLIMIT_AS, &before), 0);
    // Less than what the process already uses, so that there is no room for a stack.
    const rlimit little{1, before.rlim_max};
    QCOMPARE(::setrlimit(RLIMIT_AS, &little), 0);
    thread->wake();
    const bool isRunning = thread->isRunning();
    QCOMPARE(::setrlimit(RLIMIT_AS, &before), 0);
    QVERIFY(!isRunning);
    thread->wake();
    QTRY_COMPARE(_server->deliveries.size(), 1U);
    thread->stop(std::chrono::milliseconds(testPatience));
}

/// Whether the thread has begun when it is stopped is a race, so try several times.
void NotificationThreadTest::endsAlsoWhereItHadNotBegun() {
    constexpr int rounds = 20;
    for (int round = 0; round < rounds; ++round) {
        auto thread = newThread();
        thread->wake();
        thread->stop(milliseconds(0));
        QVERIFY(!thread->isRunning());
        thread.reset();
    }
    // The workers share ownership of the list until their threads end.
    QTRY_COMPARE(_list.use_count(), 1L);
}

void NotificationThreadTest::theEndReleasesWhoeverWaits() {
    _server->holdsAnswers = true;
    const auto thread = newThread();
    deliver();
    thread->wake();
    QTRY_COMPARE(_server->deliveries.size(), 1U);
    QVERIFY(!isSettled());
    thread->stop(std::chrono::milliseconds(testPatience));
    QVERIFY(isSettled());
}

/// The time of day that the deadline is computed from is ten years ahead of the kernel's.
void NotificationThreadTest::nobodyWaitsLongerWhenTheClockIsSetBack() {
    _progress->request();
    setTimeOfDayAhead(tenYears);
    const bool isOver = _progress->waitUntilSettled(milliseconds(20));
    setTimeOfDayAhead(std::chrono::seconds(0));
    QVERIFY(!isOver);
}

void NotificationThreadTest::theWorkerDisconnectsWhenItStops() {
    const auto before = connections();
    QThread thread;
    const auto worker = newWorker();
    worker->moveToThread(&thread);
    thread.start();
    QMetaObject::invokeMethod(worker.get(), "work", Qt::BlockingQueuedConnection);
    QTRY_VERIFY(isSettled());
    QCOMPARE(connections(), before + 1);
    QMetaObject::invokeMethod(worker.get(), "stop", Qt::QueuedConnection);
    QVERIFY(thread.wait(testPatience));
    // The connection is closed although the worker still exists.
    QTRY_COMPARE(connections(), before);
}

void NotificationThreadTest::triesTenTimesMoreToSaveForEachRequest() {
    // A file in place of the state folder, so that the registry cannot be saved.
    QFile file(sender().stateFolder);
    QVERIFY(file.open(QIODevice::WriteOnly));
    const auto worker = newWorker();
    auto *timer = worker->findChild<QTimer *>();
    QVERIFY(timer);
    // The worker pauses between its retries.
    QVERIFY(timer->intervalAsDuration() >= std::chrono::seconds(1));
    timer->setInterval(0);
    int retries = 0;
    connect(timer, &QTimer::timeout, this, [&retries] { ++retries; });
    deliver();
    worker->work();
    QTRY_VERIFY(isSettled());
    QCOMPARE(_server->deliveries.size(), 1U);
    QCOMPARE(retries, 10);
    worker->work();
    QTRY_VERIFY(isSettled());
    QCOMPARE(retries, 20);
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::NotificationThreadTest)

#include "NotificationThreadTest.moc"
