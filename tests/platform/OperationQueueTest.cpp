#include "TestMain.h"
#include "platform/Background.h"
#include "platform/OperationQueue.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSemaphore>
#include <QTest>
#include <QThread>

#include <atomic>
#include <optional>

using namespace pelorinnews;

namespace {

/// An application object of a test's own, so that the test can destroy it.
class Application {
public:
    void end() { _application.reset(); }

private:
    int _argc = 1;
    char _name[9] = "anything";
    char *_argv[2] = {_name, nullptr};
    std::optional<QCoreApplication> _application{std::in_place, _argc, _argv};
};

}  // namespace

class OperationQueueTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void runsWorkOffTheCallersThread() {
        Application application;
        const auto queue = OperationQueue::make();
        std::atomic<Qt::HANDLE> ran = nullptr;
        queue->threadPool()->start([&ran] { ran = QThread::currentThreadId(); });
        QVERIFY(queue->threadPool()->waitForDone(testPatience));
        QVERIFY(ran.load() != nullptr);
        QVERIFY(ran.load() != QThread::currentThreadId());
        QVERIFY(!queue->isStopped());
    }

    void aThreadWithoutWorkEnds() {
        Application application;
        const auto queue = OperationQueue::make();
        std::atomic<QThread *> thread = nullptr;
        queue->threadPool()->start([&thread] { thread = QThread::currentThread(); });
        QTRY_VERIFY(thread.load() != nullptr);
        // `thread` stays valid: the pool keeps the QThread object of an ended thread. With the
        // default expiry timeout of the pool, 30 seconds, the thread would not end in time.
        QVERIFY(QTest::qWaitFor([&thread] { return thread.load()->isFinished(); }, 20000));
    }

    void mayBeLetGoOfOnItsOwnThread() {
        Application application;
        auto queue = OperationQueue::make();
        const std::weak_ptr<OperationQueue> watched = queue;
        QThreadPool *pool = queue->threadPool();
        QSemaphore mayEnd;
        QSemaphore ended;
        pool->start([queue = std::move(queue), &mayEnd, &ended]() mutable {
            mayEnd.acquire();
            queue.reset();
            ended.release();
        });
        mayEnd.release();
        QVERIFY(ended.tryAcquire(1, testPatience));
        QVERIFY(watched.expired());
    }

    void theEndOfTheApplicationWaitsForRunningWork() {
        Application application;
        const auto queue = OperationQueue::make();
        QSemaphore started;
        std::atomic<bool> sawTheEnd = false;
        std::atomic<bool> done = false;
        queue->threadPool()->start([&] {
            started.release();
            for (int turn = 0; turn < 500 && !queue->isStopped(); ++turn)
                QThread::msleep(10);
            sawTheEnd = queue->isStopped();
            QThread::msleep(100);
            done = true;
        });
        started.acquire();
        application.end();
        QVERIFY(sawTheEnd);
        QVERIFY(done);
    }

    void theEndOfTheApplicationWaitsNoLongerThanItsTimeout() {
        Application application;
        const auto queue = OperationQueue::make();
        QSemaphore started;
        QSemaphore mayEnd;
        queue->threadPool()->start([&] {
            started.release();
            mayEnd.acquire();
        });
        started.acquire();
        QElapsedTimer clock;
        clock.start();
        application.end();
        const qint64 waited = clock.elapsed();
        mayEnd.release();
        QVERIFY(queue->threadPool()->waitForDone(testPatience));
        QVERIFY2(waited >= OperationQueue::stopTimeout.count() - 50,
                 qPrintable(QString::number(waited)));
        QVERIFY2(waited < OperationQueue::stopTimeout.count() + 1500,
                 qPrintable(QString::number(waited)));
    }

    void aLaterApplicationEndsItsQueuesToo() {
        for (int round = 0; round < 2; ++round) {
            Application application;
            const auto queue = OperationQueue::make();
            QVERIFY(!queue->isStopped());
            application.end();
            QVERIFY(queue->isStopped());
        }
    }

    void releasesInTheBackground() {
        Application application;
        std::atomic<Qt::HANDLE> released = nullptr;
        releaseInBackground(std::shared_ptr<const int>(std::make_unique<int>(1).release(),
                                                       [&released](const int *number) {
                                                           delete number;
                                                           released = QThread::currentThreadId();
                                                       }));
        QTRY_VERIFY(released.load() != nullptr);
        QVERIFY(released.load() != QThread::currentThreadId());
    }
};

PELORIN_APPLESS_TEST_MAIN(OperationQueueTest)
#include "OperationQueueTest.moc"
