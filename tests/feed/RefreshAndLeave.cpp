// Starts a refresh and leaves while it is under way: `refresh-and-leave ADDRESS HOW`, where HOW is
// "waiting" (at once, before anything came back) or "working" (while the answer is being worked
// on). What must not happen shows in the exit status.

#include "OlvNewsCacheFiltered.h"

#include <QCoreApplication>
#include <QTimer>

#include <atomic>

using namespace pelorinnews;

namespace {

/// Ends the test's patience with a status of its own, should leaving never come to an end.
std::atomic<bool> completedAfterTheEnd = false;

}  // namespace

int main(int argc, char *argv[]) {
    std::atomic<bool> ended = false;
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
        cache->refresh([&ended](const std::optional<Error> &) {
            if (ended)
                completedAfterTheEnd = true;
        });
        cache.reset();
        QTimer::singleShot(arguments[2] == QLatin1String("working") ? 1200 : 100, &application,
                           &QCoreApplication::quit);
        QCoreApplication::exec();
    }
    ended = true;
    if (!watched.expired())
        return 3;
    return completedAfterTheEnd ? 4 : 0;
}
