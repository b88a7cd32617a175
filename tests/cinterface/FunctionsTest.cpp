// The functions of `pelorin_news.h`, in hosts with and without an application object of their own.

#include "FeedServer.h"
#include "OneItemFeed.h"
#include "TestMain.h"

#include "pelorinnews/pelorin_news.h"

#include <QApplication>
#include <QSettings>
#include <QStandardPaths>

#include <algorithm>
#include <mutex>
#include <thread>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

int argumentCount = 1;
char programName[] = "test";
char *arguments[] = {programName, nullptr};

// What the logger got.
class Log {
public:
    static void add(void *log, int level, const char *message) {
        auto *const self = static_cast<Log *>(log);
        const std::lock_guard lock(self->_mutex);
        self->_lines += QString::number(level) + QLatin1Char(' ') + QString::fromUtf8(message);
    }
    QStringList lines() const {
        const std::lock_guard lock(_mutex);
        return _lines;
    }

private:
    mutable std::mutex _mutex;
    QStringList _lines;
};

// Sets an environment variable until it is destroyed; null removes it.
class Variable {
public:
    Variable(const char *name, const char *value)
        : _name(name), _before(qgetenv(name)), _wasSet(qEnvironmentVariableIsSet(name)) {
        if (value)
            qputenv(name, value);
        else
            qunsetenv(name);
    }
    Variable(const Variable &) = delete;
    Variable &operator=(const Variable &) = delete;
    ~Variable() {
        if (_wasSet)
            qputenv(_name, _before);
        else
            qunsetenv(_name);
    }

private:
    const char *_name;
    QByteArray _before;
    bool _wasSet;
};

int identify() {
    return pelorin_news_set_identity("com.Example.Editor", "Example", "Editor");
}

QVariant preference(const char *key) {
    return QSettings(QStringLiteral("Example"), QStringLiteral("Editor")).value(QLatin1String(key));
}

bool isVisible() {
    const auto windows = QApplication::topLevelWidgets();
    return std::any_of(windows.begin(), windows.end(), [](const QWidget *window) {
        return window->isVisible() && window->windowTitle() == QStringLiteral("Pelorin News");
    });
}

}  // namespace

class FunctionsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void refuseMissingArguments();
    void needAPanel();
    void makeOnePanelOnly();
    void workOnOneThreadOnly();
    void refuseAnotherThreadThanTheApplications();
    void makeAnApplicationOnlyWhereThereIsNone();
    void endTheApplicationThatTheyMade();
    void refuseWithoutADisplay();
    void needTheGlibLoopWithoutAnApplication();
    void tellTheLoggerWhyThereIsNoPanel();
    void tellTheLoggerWhyARefreshFailed();
    void setAndRemovePreferences();
    void showTheWindow();
    void reportTheStatus();
    void callBackUntilSwitchedOff();
    void mayEndThePanelInItsCallback();

private:
    /// The status; the refresh has ended when this returns.
    static pelorin_news_status statusAfterRefresh();

    FeedServer _server;
};

void FunctionsTest::initTestCase() {
    // The identity, once set, stays.
    QCOMPARE(pelorin_news_set_preference("newsFeedBaseURL", "x"), int(PELORIN_NEWS_NO_IDENTITY));
    QCOMPARE(pelorin_news_create(), int(PELORIN_NEWS_NO_IDENTITY));
    QVERIFY(_server.start());
    serveOneItemFeed(_server);
}

void FunctionsTest::init() {
    QVERIFY(!QCoreApplication::instance());
    QCOMPARE(identify(), int(PELORIN_NEWS_OK));
    QSettings(QStringLiteral("Example"), QStringLiteral("Editor")).clear();
    QCOMPARE(
        pelorin_news_set_preference("newsFeedBaseURL", _server.feedAddress().toUtf8().constData()),
        int(PELORIN_NEWS_OK));
    QCOMPARE(pelorin_news_set_preference("newsShowOnStart", "false"), int(PELORIN_NEWS_OK));
}

void FunctionsTest::cleanup() {
    pelorin_news_exit();
    pelorin_news_set_logger(nullptr, nullptr);
    _server.clearReplies();
    serveOneItemFeed(_server);
}

pelorin_news_status FunctionsTest::statusAfterRefresh() {
    pelorin_news_status status{};
    const auto hasEnded = [&status] {
        return pelorin_news_get_status(&status) == PELORIN_NEWS_OK &&
               status.refresh_date != PELORIN_NEWS_NO_DATE;
    };
    [&] { QTRY_VERIFY(hasEnded()); }();
    return status;
}

void FunctionsTest::refuseMissingArguments() {
    constexpr int missing = PELORIN_NEWS_MISSING_ARGUMENT;
    QCOMPARE(pelorin_news_set_identity(nullptr, "Example", "Editor"), missing);
    QCOMPARE(pelorin_news_set_identity("com.Example.Editor", nullptr, "Editor"), missing);
    QCOMPARE(pelorin_news_set_identity("com.Example.Editor", "Example", nullptr), missing);
    QCOMPARE(pelorin_news_set_identity("com.Example.Editor", "Example", ""), missing);
    QCOMPARE(pelorin_news_set_preference(nullptr, "1"), missing);
    QCOMPARE(pelorin_news_set_preference("", "1"), missing);
    QCOMPARE(pelorin_news_create(), int(PELORIN_NEWS_OK));
    QCOMPARE(pelorin_news_get_status(nullptr), missing);
}

void FunctionsTest::needAPanel() {
    constexpr int notCreated = PELORIN_NEWS_NOT_CREATED;
    const auto checkAll = [] {
        pelorin_news_status status{7, 7, 7, "x", "y"};
        QCOMPARE(pelorin_news_show(), notCreated);
        QCOMPARE(pelorin_news_refresh(), notCreated);
        QCOMPARE(pelorin_news_get_status(&status), notCreated);
        QCOMPARE(status.unread_count, 7);
        QCOMPARE(pelorin_news_get_status(nullptr), notCreated);
        QCOMPARE(pelorin_news_set_status_callback(nullptr, nullptr), notCreated);
        QCOMPARE(pelorin_news_exit(), notCreated);
    };
    checkAll();
    QCOMPARE(pelorin_news_create(), int(PELORIN_NEWS_OK));
    QCOMPARE(pelorin_news_exit(), int(PELORIN_NEWS_OK));
    checkAll();
    // No thread is the panel's now.
    std::thread(checkAll).join();
}

void FunctionsTest::makeOnePanelOnly() {
    QCOMPARE(pelorin_news_create(), int(PELORIN_NEWS_OK));
    QCOMPARE(pelorin_news_create(), int(PELORIN_NEWS_ALREADY_CREATED));
    QCOMPARE(identify(), int(PELORIN_NEWS_ALREADY_CREATED));
    QCOMPARE(pelorin_news_show(), int(PELORIN_NEWS_OK));
}

void FunctionsTest::workOnOneThreadOnly() {
    QCOMPARE(pelorin_news_create(), int(PELORIN_NEWS_OK));
    std::thread([] {
        constexpr int wrongThread = PELORIN_NEWS_WRONG_THREAD;
        pelorin_news_status status{};
        QCOMPARE(identify(), wrongThread);
        QCOMPARE(pelorin_news_set_identity(nullptr, nullptr, nullptr), wrongThread);
        QCOMPARE(pelorin_news_set_preference("key", "value"), wrongThread);
        QCOMPARE(pelorin_news_set_logger(nullptr, nullptr), wrongThread);
        QCOMPARE(pelorin_news_create(), wrongThread);
        QCOMPARE(pelorin_news_show(), wrongThread);
        QCOMPARE(pelorin_news_refresh(), wrongThread);
        QCOMPARE(pelorin_news_get_status(&status), wrongThread);
        QCOMPARE(pelorin_news_set_status_callback(nullptr, nullptr), wrongThread);
        QCOMPARE(pelorin_news_exit(), wrongThread);
    }).join();
    QVERIFY(preference("key").isNull());
    QCOMPARE(pelorin_news_show(), int(PELORIN_NEWS_OK));
}

void FunctionsTest::refuseAnotherThreadThanTheApplications() {
    const QApplication application(argumentCount, arguments);
    std::thread([] {
        QCOMPARE(identify(), int(PELORIN_NEWS_WRONG_THREAD));
        QCOMPARE(pelorin_news_create(), int(PELORIN_NEWS_WRONG_THREAD));
    }).join();
    QCOMPARE(pelorin_news_create(), int(PELORIN_NEWS_OK));
    QCOMPARE(pelorin_news_exit(), int(PELORIN_NEWS_OK));
}

void FunctionsTest::makeAnApplicationOnlyWhereThereIsNone() {
    const QApplication application(argumentCount, arguments);
    QCOMPARE(pelorin_news_create(), int(PELORIN_NEWS_OK));
    QCOMPARE(QCoreApplication::instance(), &application);
    QCOMPARE(pelorin_news_exit(), int(PELORIN_NEWS_OK));
    QCOMPARE(QCoreApplication::instance(), &application);
}

void FunctionsTest::endTheApplicationThatTheyMade() {
    for (int round = 0; round < 3; ++round) {
        QCOMPARE(identify(), int(PELORIN_NEWS_OK));
        QCOMPARE(pelorin_news_create(), int(PELORIN_NEWS_OK));
        QVERIFY(qobject_cast<QApplication *>(QCoreApplication::instance()));
        QCOMPARE(QCoreApplication::instance()->thread(), QThread::currentThread());
        QCOMPARE(QGuiApplication::desktopFileName(), QStringLiteral("com.Example.Editor"));
        QCOMPARE(QCoreApplication::arguments(), QStringList(QStringLiteral("Editor")));
        QCOMPARE(statusAfterRefresh().unread_count, 1);
        QCOMPARE(pelorin_news_exit(), int(PELORIN_NEWS_OK));
        QVERIFY(!QCoreApplication::instance());
    }
}

void FunctionsTest::refuseWithoutADisplay() {
    const Variable platform("QT_QPA_PLATFORM", nullptr);
    const Variable wayland("WAYLAND_DISPLAY", nullptr);
    const Variable x11("DISPLAY", "");
    QCOMPARE(pelorin_news_create(), int(PELORIN_NEWS_NO_DISPLAY));
    QVERIFY(!QCoreApplication::instance());
}

void FunctionsTest::needTheGlibLoopWithoutAnApplication() {
    Log log;
    QCOMPARE(pelorin_news_set_logger(&Log::add, &log), int(PELORIN_NEWS_OK));
    {
        const Variable noGlib("QT_NO_GLIB", "1");
        QCOMPARE(pelorin_news_create(), int(PELORIN_NEWS_FAILED));
        QCOMPARE(log.lines().size(), 1);
        QVERIFY2(log.lines().first().contains(QStringLiteral("QT_NO_GLIB")),
                 qPrintable(log.lines().first()));
        QVERIFY(!QCoreApplication::instance());
    }
    QCOMPARE(pelorin_news_create(), int(PELORIN_NEWS_OK));
}

void FunctionsTest::tellTheLoggerWhyThereIsNoPanel() {
    Log log;
    QCOMPARE(pelorin_news_set_logger(&Log::add, &log), int(PELORIN_NEWS_OK));
    const QCoreApplication application(argumentCount, arguments);
    QCOMPARE(pelorin_news_create(), int(PELORIN_NEWS_FAILED));
    QCOMPARE(log.lines(), QStringList(QStringLiteral("1 Failed to create NewsWindowController.")));
    QCOMPARE(pelorin_news_show(), int(PELORIN_NEWS_NOT_CREATED));
}

void FunctionsTest::tellTheLoggerWhyARefreshFailed() {
    Log log;
    FeedReply missing;
    missing.status = 404;
    _server.setReply(missing);
    QCOMPARE(pelorin_news_set_logger(&Log::add, &log), int(PELORIN_NEWS_OK));
    QCOMPARE(pelorin_news_create(), int(PELORIN_NEWS_OK));
    const pelorin_news_status status = statusAfterRefresh();
    QVERIFY(status.refresh_error);
    QVERIFY2(strstr(status.refresh_error, "Code=404"), status.refresh_error);
    QCOMPARE(log.lines().size(), 1);
    QVERIFY2(log.lines().first().startsWith(QStringLiteral("1 News Window Controller - ")),
             qPrintable(log.lines().first()));

    QCOMPARE(pelorin_news_set_logger(nullptr, nullptr), int(PELORIN_NEWS_OK));
    bool hasEnded = false;
    QCOMPARE(pelorin_news_set_status_callback(
                 [](void *context) { *static_cast<bool *>(context) = true; }, &hasEnded),
             int(PELORIN_NEWS_OK));
    QCOMPARE(pelorin_news_refresh(), int(PELORIN_NEWS_OK));
    QTRY_VERIFY(hasEnded);
    QCOMPARE(log.lines().size(), 1);
    QCOMPARE(pelorin_news_exit(), int(PELORIN_NEWS_OK));
}

void FunctionsTest::setAndRemovePreferences() {
    QCOMPARE(pelorin_news_set_preference("newsFeedType", "a, b"), int(PELORIN_NEWS_OK));
    QCOMPARE(preference("newsFeedType"), QVariant(QStringLiteral("a, b")));
    QCOMPARE(pelorin_news_set_preference("newsFeedType", ""), int(PELORIN_NEWS_OK));
    QCOMPARE(preference("newsFeedType"), QVariant(QString()));
    QCOMPARE(pelorin_news_set_preference("newsFeedType", nullptr), int(PELORIN_NEWS_OK));
    QVERIFY(preference("newsFeedType").isNull());
}

void FunctionsTest::showTheWindow() {
    QCOMPARE(pelorin_news_create(), int(PELORIN_NEWS_OK));
    QVERIFY(!isVisible());
    QCOMPARE(pelorin_news_show(), int(PELORIN_NEWS_OK));
    QVERIFY(isVisible());
}

void FunctionsTest::reportTheStatus() {
    FeedReply stalled;
    stalled.body = "<rss/>";
    stalled.stallAfter = 0;
    _server.setReply(stalled);
    QFile::remove(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                  QStringLiteral("/com.Example.Editor/PelorinNews.xml"));
    QCOMPARE(pelorin_news_create(), int(PELORIN_NEWS_OK));
    pelorin_news_status status{7, 7, 7, "x", "y"};
    QCOMPARE(pelorin_news_get_status(&status), int(PELORIN_NEWS_OK));
    QCOMPARE(status.unread_count, 0);
    QCOMPARE(status.latest_date, PELORIN_NEWS_NO_DATE);
    QCOMPARE(status.refresh_date, PELORIN_NEWS_NO_DATE);
    QVERIFY(!status.latest_title);
    QVERIFY(!status.refresh_error);

    const qint64 now = QDateTime::currentSecsSinceEpoch();
    serveOneItemFeed(_server);
    QCOMPARE(pelorin_news_refresh(), int(PELORIN_NEWS_OK));
    status = statusAfterRefresh();
    QCOMPARE(status.unread_count, 1);
    QCOMPARE(status.latest_title, "News");
    QVERIFY(status.latest_date <= now - 3500 && status.latest_date >= now - 3700);
    QVERIFY(status.refresh_date >= now);
    QVERIFY(!status.refresh_error);
}

void FunctionsTest::callBackUntilSwitchedOff() {
    struct Calls {
        int count = 0;
        std::thread::id thread;
    } calls;
    QCOMPARE(pelorin_news_create(), int(PELORIN_NEWS_OK));
    statusAfterRefresh();
    QCOMPARE(pelorin_news_set_status_callback(
                 [](void *context) {
                     auto *const made = static_cast<Calls *>(context);
                     ++made->count;
                     made->thread = std::this_thread::get_id();
                 },
                 &calls),
             int(PELORIN_NEWS_OK));
    QCOMPARE(pelorin_news_refresh(), int(PELORIN_NEWS_OK));
    QTRY_COMPARE(calls.count, 1);
    QCOMPARE(calls.thread, std::this_thread::get_id());

    QCOMPARE(pelorin_news_set_status_callback(nullptr, nullptr), int(PELORIN_NEWS_OK));
    QCOMPARE(pelorin_news_show(), int(PELORIN_NEWS_OK));
    QTRY_COMPARE(statusAfterRefresh().unread_count, 0);
    QCoreApplication::processEvents();
    QCOMPARE(calls.count, 1);
}

void FunctionsTest::mayEndThePanelInItsCallback() {
    int result = -1;
    QCOMPARE(pelorin_news_create(), int(PELORIN_NEWS_OK));
    QCOMPARE(
        pelorin_news_set_status_callback(
            [](void *context) { *static_cast<int *>(context) = pelorin_news_exit(); }, &result),
        int(PELORIN_NEWS_OK));
    QCOMPARE(pelorin_news_refresh(), int(PELORIN_NEWS_OK));
    QTRY_COMPARE(result, int(PELORIN_NEWS_OK));
    // The event that called back has to end first.
    const QCoreApplication *const application = QCoreApplication::instance();
    QVERIFY(application);
    QCOMPARE(identify(), int(PELORIN_NEWS_OK));
    QCOMPARE(pelorin_news_create(), int(PELORIN_NEWS_OK));
    QCOMPARE(QCoreApplication::instance(), application);
    QCOMPARE(statusAfterRefresh().unread_count, 1);
    QCOMPARE(pelorin_news_exit(), int(PELORIN_NEWS_OK));
    QVERIFY(!QCoreApplication::instance());
}

PELORIN_APPLESS_TEST_MAIN(FunctionsTest)
#include "FunctionsTest.moc"
