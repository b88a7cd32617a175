// A host in its own process. Commands on standard input make it deliver and list notifications, and
// listen for clicks, on the session bus. It runs until it is killed or its input ends.
#include "RecordingDelegate.h"
#include "notifications/DesktopNotificationCenter.h"
#include "platform/MainQueue.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QTextStream>

#include <thread>

using namespace pelorinnews;

namespace {

// `flush` waits until the registry is on disk, which may take long on a busy computer.
constexpr std::chrono::seconds maxFlush(30);

void answer(const QString &line) {
    QTextStream(stdout) << line << '\n' << Qt::flush;
}

/// The delegate; lives as long as the process.
const std::shared_ptr<test::RecordingDelegate> &delegate() {
    static const auto only = std::make_shared<test::RecordingDelegate>();
    return only;
}

QString titles(const QList<UserNotification> &notifications) {
    QStringList list;
    for (const UserNotification &each : notifications)
        list.append(each.title);
    return list.join(QLatin1Char(','));
}

void obey(NotificationCenter &center, const QString &command, const QString &argument) {
    if (command == QLatin1String("deliver")) {
        UserNotification notification;
        notification.title = argument;
        notification.userInfo = {{QStringLiteral("originationDate"),
                                  QDateTime::fromMSecsSinceEpoch(1234567890123, Qt::UTC)}};
        center.deliverNotification(notification);
        answer(center.flush(maxFlush) ? QStringLiteral("done") : QStringLiteral("late"));
    } else if (command == QLatin1String("list")) {
        answer(titles(center.deliveredNotifications()));
    } else if (command == QLatin1String("listen")) {
        center.setDelegate(delegate());
        answer(center.flush(maxFlush) ? QStringLiteral("done") : QStringLiteral("late"));
    } else if (command == QLatin1String("clicks")) {
        // Reply on the main thread, after all events that have arrived so far.
        MainQueue::dispatchAsync([] { answer(titles(delegate()->activated)); });
    }
}

}  // namespace

int main(int argc, char *argv[]) {
    QCoreApplication application(argc, argv);
    NotificationSender sender;
    sender.identifier = QStringLiteral("com.example.Host");
    sender.applicationName = QStringLiteral("Host");
    sender.actionLabel = QStringLiteral("Open");
    sender.stateFolder = application.arguments().value(1);
    DesktopNotificationCenter center(sender);
    std::thread commands([&] {
        QTextStream input(stdin);
        QString line;
        while (input.readLineInto(&line))
            obey(center, line.section(QLatin1Char(' '), 0, 0), line.section(QLatin1Char(' '), 1));
        QMetaObject::invokeMethod(&application, "quit", Qt::QueuedConnection);
    });
    const int result = QCoreApplication::exec();
    commands.join();
    return result;
}
