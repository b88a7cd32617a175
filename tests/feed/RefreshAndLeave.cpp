// Starts a refresh and exits while it is under way: `refresh-and-leave ADDRESS HOW`. HOW is
// "waiting" (exits soon, before the reply is complete) or "working" (exits later, perhaps while a
// big reply is being processed). The exit status is 0 unless something went wrong.

#include "feed/OlvNewsCacheFiltered.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>

#include <atomic>

using namespace pelorinnews;

int main(int argc, char *argv[]) {
    std::atomic<bool> ended = false;
    std::atomic<bool> completedAfterTheEnd = false;
    std::weak_ptr<OlvNewsCache> watched;
    {
        QCoreApplication application(argc, argv);
        const QStringList arguments = QCoreApplication::arguments();
        if (arguments.size() != 3)
            return 2;
        auto cache = std::make_shared<OlvNewsCacheFiltered>();
        watched = cache;
        cache->setFeedBaseURL(arguments[1]);
        cache->setDesiredLocale(QStringLiteral("en"));
        cache->refresh([&](const std::optional<Error> &) {
            if (ended)
                completedAfterTheEnd = true;
        });
        cache.reset();
        QTimer::singleShot(arguments[2] == QLatin1String("working") ? 1200 : 100, &application,
                           &QCoreApplication::quit);
        QCoreApplication::exec();
    }
    ended = true;
    // The transport ends with the application object, but releases the cache a moment later.
    for (int turn = 0; turn < 200 && !watched.expired(); ++turn)
        QThread::msleep(10);
    if (!watched.expired())
        return 3;
    return completedAfterTheEnd ? 4 : 0;
}
