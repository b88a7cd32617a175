#include "TestMain.h"
#include "platform/MainQueue.h"

#include <QCoreApplication>
#include <QTest>
#include <QThread>

#include <thread>

using namespace pelorinnews;

// The application objects are created and destroyed inside the tests.
class MainQueueTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void runsTasksOfAllThreadsOnTheMainThreadInOrder();
    void runsATaskLaterAndNotAtOnce();
    void runsWhatATaskPostsAtALaterTurn();
    void dropsTasksWithoutAnApplication();
    void dropsWhatIsLeftWhenTheApplicationGoesAndServesTheNext();
};

namespace {

int argumentCount = 1;
char programName[] = "test";
char *arguments[] = {programName, nullptr};

// Posts a task when it is destroyed, as objects owned by a task may do.
struct PostsAtItsEnd {
    ~PostsAtItsEnd() {
        MainQueue::dispatchAsync([] {});
    }
};

}  // namespace

void MainQueueTest::runsTasksOfAllThreadsOnTheMainThreadInOrder() {
    const QCoreApplication application(argumentCount, arguments);
    QList<int> order;
    bool alwaysMain = true;
    const auto note = [&](int number) {
        return [&, number] {
            order.append(number);
            alwaysMain = alwaysMain && MainQueue::isMainThread();
        };
    };
    MainQueue::dispatchAsync(note(1));
    std::thread([&] {
        MainQueue::dispatchAsync(note(2));
        MainQueue::dispatchAsync(note(3));
    }).join();
    MainQueue::dispatchAsync(note(4));
    QTRY_COMPARE(order, (QList<int>{1, 2, 3, 4}));
    QVERIFY(alwaysMain);
}

void MainQueueTest::runsATaskLaterAndNotAtOnce() {
    const QCoreApplication application(argumentCount, arguments);
    bool ran = false;
    MainQueue::dispatchAsync([&ran] { ran = true; });
    QVERIFY(!ran);
    QTRY_VERIFY(ran);
}

void MainQueueTest::runsWhatATaskPostsAtALaterTurn() {
    const QCoreApplication application(argumentCount, arguments);
    QStringList order;
    MainQueue::dispatchAsync([&order] {
        MainQueue::dispatchAsync([&order] { order.append(QStringLiteral("inner")); });
        order.append(QStringLiteral("outer"));
    });
    QTRY_COMPARE(order, (QStringList{QStringLiteral("outer"), QStringLiteral("inner")}));
}

void MainQueueTest::dropsTasksWithoutAnApplication() {
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = held;
    MainQueue::dispatchAsync([held = std::move(held)] { qFatal("a dropped task ran"); });
    QVERIFY(watched.expired());
    QVERIFY(!MainQueue::isMainThread());
}

void MainQueueTest::dropsWhatIsLeftWhenTheApplicationGoesAndServesTheNext() {
    auto held = std::make_shared<PostsAtItsEnd>();
    const std::weak_ptr<PostsAtItsEnd> watched = held;
    {
        const QCoreApplication application(argumentCount, arguments);
        MainQueue::dispatchAsync([held = std::move(held)] { qFatal("a dropped task ran"); });
        QVERIFY(!watched.expired());
    }
    QVERIFY(watched.expired());
    const QCoreApplication next(argumentCount, arguments);
    bool ran = false;
    MainQueue::dispatchAsync([&ran] { ran = true; });
    QTRY_VERIFY(ran);
}

PELORIN_APPLESS_TEST_MAIN(MainQueueTest)
#include "MainQueueTest.moc"
