#include "FeedServer.h"
#include "LoadedAddress.h"
#include "TestAuthority.h"
#include "TestMain.h"
#include "network/NetworkUrlLoader.h"
#include "network/TransportError.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

#include <atomic>
#include <new>
#include <thread>

using namespace pelorinnews;
using namespace pelorinnews::test;
using namespace std::chrono_literals;

namespace {

/// An application object for the duration of one test.
struct Application {
    int count = 1;
    char name[5] = "test";
    char *arguments[2] = {name, nullptr};
    QCoreApplication application{count, arguments};
};

FeedReply answering(const QByteArray &body) {
    FeedReply reply;
    reply.body = body;
    return reply;
}

/// The /proc folders of this process's threads whose name begins with `name`.
QStringList threadsNamed(const QByteArray &name) {
    QStringList found;
    const QDir tasks(QStringLiteral("/proc/self/task"));
    for (const QString &task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile comm(tasks.filePath(task + QStringLiteral("/comm")));
        if (comm.open(QIODevice::ReadOnly) && comm.readAll().startsWith(name))
            found += tasks.filePath(task);
    }
    return found;
}

QByteArray wakeUps(const QString &task) {
    QFile status(task + QStringLiteral("/status"));
    if (!status.open(QIODevice::ReadOnly))
        return {};
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("voluntary_ctxt_switches"))
            return line;
    return {};
}

}  // namespace

/// Tests the loader before the application object exists, after it is destroyed, and when it is
/// created again.
class NetworkUrlLoaderLifetimeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aRequestWithoutAnApplicationEndsWithAnError();
    void aCompletionWithoutMemoryEndsNoThread();
    void aLoaderMadeBeforeTheApplicationWorks();
    void theSharedLoaderEndsWithTheApplicationAndComesAgain();
    void aProcessThatExitsInTheMiddleOfADownloadEndsCleanly();
    void aProcessThatExitsAsItsFirstDownloadBeginsDoesNotCrash();
    void anIdleLoaderNeverWakesUp();
};

void NetworkUrlLoaderLifetimeTest::aRequestWithoutAnApplicationEndsWithAnError() {
    QThreadPool queue;
    NetworkUrlLoader loader;
    LoadedAddress loaded(loader, QUrl(QStringLiteral("http://127.0.0.1:1/")), &queue, 10s);
    QVERIFY(loaded.wait());
    QCOMPARE(loaded.connectionError().value_or(Error()).code, int(TransportError::Cancelled));
}

void NetworkUrlLoaderLifetimeTest::aCompletionWithoutMemoryEndsNoThread() {
    QThreadPool queue;
    NetworkUrlLoader loader;
    const QUrl url(QStringLiteral("http://127.0.0.1:1/"));
    std::atomic<bool> called = false;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("ended early")));
    loader.sendAsynchronousRequest(url, 10s, &queue, [&called](auto...) {
        called = true;
        throw std::bad_alloc();
    });
    QVERIFY(queue.waitForDone(testPatience));
    QVERIFY(called);
    LoadedAddress loaded(loader, url, &queue, 10s);
    QVERIFY(loaded.wait());
}

void NetworkUrlLoaderLifetimeTest::aLoaderMadeBeforeTheApplicationWorks() {
    QThreadPool queue;
    NetworkUrlLoader loader;
    const Application application;
    FeedServer server;
    server.setReply(answering("late"));
    QVERIFY(server.start());
    LoadedAddress loaded(loader, QUrl(server.address(QStringLiteral("/"))), &queue, 10s);
    QVERIFY(loaded.wait());
    QCOMPARE(loaded.data(), std::optional(QByteArray("late")));
}

void NetworkUrlLoaderLifetimeTest::theSharedLoaderEndsWithTheApplicationAndComesAgain() {
    QThreadPool queue;
    for (int life = 0; life < 2; ++life) {
        auto application = std::make_unique<Application>();
        FeedServer server;
        server.setReply(answering("here"));
        FeedReply never;
        never.delayBeforeHead = std::chrono::hours(1);
        server.setReplyForPath("/never", never);
        QVERIFY(server.start());
        const std::shared_ptr<UrlLoader> loader = UrlLoader::shared();
        LoadedAddress whole(*loader, QUrl(server.address(QStringLiteral("/"))), &queue, 10s);
        QVERIFY(whole.wait());
        QCOMPARE(whole.data(), std::optional(QByteArray("here")));
        LoadedAddress cut(*loader, QUrl(server.address(QStringLiteral("/never"))), &queue, 60s);
        QVERIFY(server.waitForRequests(2));

        QElapsedTimer elapsed;
        elapsed.start();
        application.reset();
        QVERIFY(elapsed.elapsed() < NetworkUrlLoader::stopTimeout.count());
        // The thread has run its last line; the kernel takes a moment to remove it.
        for (int i = 0; i < 100 && !threadsNamed("PelorinNewsLoad").isEmpty(); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        QVERIFY(threadsNamed("PelorinNewsLoad").isEmpty());
        QVERIFY(cut.wait());
        QCOMPARE(cut.connectionError().value_or(Error()).code, int(TransportError::Cancelled));

        LoadedAddress after(*loader, QUrl(server.address(QStringLiteral("/"))), &queue, 10s);
        QVERIFY(after.wait());
        QCOMPARE(after.connectionError().value_or(Error()).code, int(TransportError::Cancelled));
    }
}

void NetworkUrlLoaderLifetimeTest::aProcessThatExitsInTheMiddleOfADownloadEndsCleanly() {
    const Application application;
    const TestAuthority authority;
    const auto files = authority.issue(DevelopmentCertificates::Kind::Valid);
    FeedServerOptions options;
    options.certificateFile = files.certificate;
    options.privateKeyFile = files.privateKey;
    FeedServer server(options);
    QVERIFY(server.start());
    for (const char *reply : {"size=30m,drip=1000:1", "stall=3", "delay=60000"}) {
        server.setReply(FeedReply::parse(QString::fromLatin1(reply)).value());
        server.clearRequests();
        QProcess leaving;
        leaving.setProcessChannelMode(QProcess::MergedChannels);
        leaving.start(QStringLiteral(PELORIN_LOAD_AND_LEAVE),
                      {server.address(QStringLiteral("/")), authority.path() + "/ca.pem"});
        QVERIFY(server.waitForRequests(4));
        leaving.write("\n");
        QVERIFY(leaving.waitForFinished(testPatience));
        QCOMPARE(leaving.exitStatus(), QProcess::NormalExit);
        QCOMPARE(leaving.exitCode(), 0);
        QCOMPARE(leaving.readAll(), QByteArray());
    }
}

void NetworkUrlLoaderLifetimeTest::aProcessThatExitsAsItsFirstDownloadBeginsDoesNotCrash() {
    const Application application;
    const TestAuthority authority;
    // The program exits after each of these delays, while the TLS library is being loaded and
    // initialised. The address does not matter.
    for (int milliseconds = 0; milliseconds < 40; milliseconds += 2) {
        QProcess leaving;
        leaving.setProcessChannelMode(QProcess::MergedChannels);
        leaving.start(QStringLiteral(PELORIN_LOAD_AND_LEAVE),
                      {QStringLiteral("https://127.0.0.1:1/"), authority.path() + "/ca.pem",
                       QString::number(milliseconds)});
        QVERIFY(leaving.waitForFinished(testPatience));
        QCOMPARE(leaving.exitStatus(), QProcess::NormalExit);
        QCOMPARE(leaving.exitCode(), 0);
    }
}

void NetworkUrlLoaderLifetimeTest::anIdleLoaderNeverWakesUp() {
    QThreadPool queue;
    const Application application;
    FeedServer server;
    FeedReply reply = answering("kept");
    reply.keepAlive = true;
    server.setReply(reply);
    QVERIFY(server.start());
    NetworkUrlLoader loader;
    QVERIFY(threadsNamed("PelorinNewsLoad").isEmpty());
    LoadedAddress loaded(loader, QUrl(server.address(QStringLiteral("/"))), &queue, 10s);
    QVERIFY(loaded.wait());
    const QStringList threads = threadsNamed("PelorinNewsLoad");
    QCOMPARE(threads.size(), 1);
    // A moment after the transfer, the thread wakes once to return memory to the system; from then
    // on it sleeps.
    const auto sleeps = [&threads] {
        const QByteArray before = wakeUps(threads.front());
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        return !before.isEmpty() && wakeUps(threads.front()) == before;
    };
    QVERIFY(sleeps() || sleeps() || sleeps());
}

PELORIN_APPLESS_TEST_MAIN(NetworkUrlLoaderLifetimeTest)
#include "NetworkUrlLoaderLifetimeTest.moc"
