// A small host that operates the news panel once, from start to exit, and prints one line for each
// step: the step, what was seen, and how long it took. "blocked" is no step: it is the longest time
// for which the main thread's event loop stood still between "start" and "close". Ends with status
// 0 whatever the panel does.
//
//   pelorin_faults_scenario MODULE AUTHORITY TIMEOUT [seen]
//
// MODULE is the panel's module, AUTHORITY the PEM file of a certificate authority to trust, TIMEOUT
// the milliseconds after which a step that does not happen is skipped. "seen" means that the feed
// has no news to announce. With the library of FaultCalls.cpp preloaded, calls count from the
// panel's creation on.

#include "pelorinnews/NewsPlugin.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QImage>
#include <QMimeData>
#include <QPluginLoader>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <dlfcn.h>

using namespace pelorinnews;

namespace {

/// Knows whether the panel has logged an error, which it does after a failed download.
class ErrorWatch : public OlvLogger {
public:
    void addErrorMessage(const QString &) override { _seen = true; }
    void addWarningMessage(const QString &) override {}
    void addInfoMessage(const QString &) override {}
    void addDebugMessage(const QString &) override {}

    [[nodiscard]] bool hasSeenError() const { return _seen; }

private:
    std::atomic<bool> _seen = false;
};

/// Measures how long the main thread's event loop stands still.
class Heartbeat {
public:
    Heartbeat() {
        _timer.callOnTimeout([this] { _longest = std::max(_longest, _last.restart()); });
        restart();
        _timer.start(interval);
    }

    /// The time until now does not count.
    void restart() { _last.start(); }

    [[nodiscard]] qint64 longest() const {
        return std::max<qint64>(0, _longest - interval.count());
    }

private:
    static constexpr std::chrono::milliseconds interval{5};

    QTimer _timer;
    QElapsedTimer _last;
    qint64 _longest = 0;
};

void countFaults(bool count) {
    using Function = void (*)(bool);
    if (const auto set = reinterpret_cast<Function>(dlsym(RTLD_DEFAULT, "pelorinCountFaults")))
        set(count);
}

class Scenario {
public:
    Scenario(NewsPlugin &plugin, std::chrono::milliseconds timeout)
        : _plugin(plugin), _timeout(timeout) {}

    /// `start` to `exit`. Returns early if the panel cannot be created.
    void run(bool isSeen) {
        step("start", [this] { return start(); });
        if (!_news)
            return;
        if (!isSeen)
            step("announce", [this] { return announce(); });
        step("show", [this, isSeen] { return isSeen ? showUntilItem() : show(); });
        step("paint", [this] { return paint(); });
        step("next", [this] { return press(QStringLiteral("nextItem")); });
        step("copy", [this] { return copy(); });
        step("close", [this] {
            QWidget *const open = window();
            return open && open->close() ? QStringLiteral("closed") : QString();
        });
        QTest::qWait(20);
        std::printf("blocked\tmost\t%lld\n", static_cast<long long>(_heartbeat.longest()));
        step("exit", [this] {
            _news->exit();
            _news.reset();
            return QStringLiteral("ended");
        });
    }

private:
    template <typename Work>
    static void step(const char *name, Work work) {
        QElapsedTimer timer;
        timer.start();
        const QString seen = work();
        std::printf("%s\t%s\t%lld\n", name, seen.isEmpty() ? "-" : qUtf8Printable(seen),
                    static_cast<long long>(timer.elapsed()));
        std::fflush(stdout);
    }

    QString start() {
        Error error;
        _news = _plugin.init(&error);
        if (!_news)
            return {};
        _news->setLogger(_log);
        return QStringLiteral("created");
    }

    /// Waits until the page has dark pixels, as those of a text.
    QString paint() {
        const auto isPainted = [] {
            QWidget *const view = pageView();
            if (!view)
                return false;
            const QImage image = view->grab().toImage().convertToFormat(QImage::Format_Grayscale8);
            for (int y = 0; y < image.height(); ++y) {
                const uchar *const line = image.constScanLine(y);
                constexpr uchar dark = 100;
                if (std::any_of(line, line + image.width(), [](uchar each) { return each < dark; }))
                    return true;
            }
            return false;
        };
        return QTest::qWaitFor(isPainted, static_cast<int>(_timeout.count()))
                   ? QStringLiteral("painted")
                   : QString();
    }

    /// Waits for the announcement of the first refresh, until the desktop has it.
    QString announce() {
        const auto center = _plugin.notificationCenter();
        if (!center)
            return {};
        const auto isOver = [this, &center] {
            return !center->deliveredNotifications().isEmpty() || _log->hasSeenError();
        };
        static_cast<void>(QTest::qWaitFor(isOver, static_cast<int>(_timeout.count())));
        center->flush(_timeout);
        // That wait was ours.
        _heartbeat.restart();
        const QList<UserNotification> delivered = center->deliveredNotifications();
        return delivered.isEmpty() ? QString() : delivered.last().informativeText;
    }

    QString show() {
        _news->show();
        return waitForPage({});
    }

    /// Nothing tells when the first refresh is over, and it does not change an open window: opens
    /// the window again until it shows an item.
    QString showUntilItem() {
        const QDeadlineTimer deadline(_timeout);
        QString seen = show();
        while (!seen.startsWith(QLatin1String("Plain text")) && !deadline.hasExpired()) {
            if (QWidget *const open = window())
                open->close();
            QTest::qWait(50);
            seen = show();
        }
        return seen;
    }

    QString press(const QString &name) {
        const QWidget *const open = window();
        auto *const button = open ? open->findChild<QAbstractButton *>(name) : nullptr;
        if (!button || !button->isEnabled())
            return {};
        const QString before = page();
        button->click();
        return waitForPage(before);
    }

    static QString copy() {
        const QWidget *const open = window();
        if (!open || !open->windowHandle())
            return {};
        QTest::keyClick(open->windowHandle(), Qt::Key_C, Qt::ControlModifier);
        const QMimeData *const copied = QGuiApplication::clipboard()->mimeData();
        const QByteArray text =
            copied ? copied->data(QStringLiteral("text/rtf")).trimmed() : QByteArray();
        return text.startsWith("{\\rtf1") && text.endsWith('}') ? QStringLiteral("RTF") : QString();
    }

    [[nodiscard]] static QWidget *window() {
        const QWidgetList all = QApplication::topLevelWidgets();
        for (QWidget *each : all) {
            if (each->objectName() == QLatin1String("OlvNewsWindow"))
                return each;
        }
        return nullptr;
    }

    [[nodiscard]] static QWidget *pageView() {
        const QWidget *const open = window();
        const QWidgetList parts = open ? open->findChildren<QWidget *>() : QWidgetList();
        const auto found = std::find_if(parts.begin(), parts.end(), [](const QWidget *each) {
            return QByteArray(each->metaObject()->className()).endsWith("OlvNewsWebView");
        });
        return found == parts.end() ? nullptr : *found;
    }

    /// The text that assistive technology reads for the page; empty before the first page.
    [[nodiscard]] static QString page() {
        QWidget *const widget = pageView();
        QAccessibleInterface *const view =
            widget ? QAccessible::queryAccessibleInterface(widget) : nullptr;
        const QString text = view ? view->text(QAccessible::Value) : QString();
        return text == QLatin1String("Pelorin News content") ? QString() : text.left(60);
    }

    /// The page once there is one and it differs from `before`.
    QString waitForPage(const QString &before) {
        const auto isThere = [&before] { return !page().isEmpty() && page() != before; };
        return QTest::qWaitFor(isThere, static_cast<int>(_timeout.count())) ? page() : QString();
    }

    NewsPlugin &_plugin;
    std::chrono::milliseconds _timeout;
    Heartbeat _heartbeat;
    std::shared_ptr<ErrorWatch> _log = std::make_shared<ErrorWatch>();
    std::shared_ptr<NewsController> _news;
};

}  // namespace

int main(int argc, char *argv[]) {
    QElapsedTimer timer;
    {
        const QApplication application(argc, argv);
        const QStringList arguments = QCoreApplication::arguments();
        if (arguments.size() < 4)
            qFatal("usage: MODULE AUTHORITY TIMEOUT [seen]");
        QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
        trusting.setCaCertificates(QSslCertificate::fromPath(arguments[2]));
        QSslConfiguration::setDefaultConfiguration(trusting);
        QWidget window;
        window.show();
        QPluginLoader loader(arguments[1]);
        auto *const plugin = qobject_cast<NewsPlugin *>(loader.instance());
        if (!plugin)
            qFatal("%s", qPrintable(loader.errorString()));
        plugin->setHostIdentity({QStringLiteral("com.Olvane.PelorinFaults"),
                                 QStringLiteral("Olvane"), QStringLiteral("PelorinFaults")});
        countFaults(true);
        Scenario(*plugin, std::chrono::milliseconds(arguments[3].toInt()))
            .run(arguments.size() > 4);
        // The application object's end is a step, too.
        timer.start();
    }
    std::printf("end\tended\t%lld\n", static_cast<long long>(timer.elapsed()));
    std::fflush(stdout);
    return 0;
}
