// Prints by how much a refresh raises the process's peak memory, as a multiple of the body's size:
// first with an empty cache, then with a cache that holds items. The memory of those old items is
// not counted, because it is in use before the refresh.

#include "FeedGenerator.h"
#include "PeakMemory.h"
#include "feed/OlvNewsCacheFiltered.h"
#include "network/NetworkUrlLoader.h"
#include "platform/HostBundle.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <future>

using namespace pelorinnews;
using namespace pelorinnews::bench;

namespace {

double measure(const std::shared_ptr<OlvNewsCacheFiltered> &cache, qint64 bodySize) {
    const PeakMemory peak;
    std::promise<bool> ended;
    cache->refresh([&ended](const std::optional<Error> &error) { ended.set_value(!error); });
    if (!ended.get_future().get() || cache->unfilteredCount() == 0)
        qFatal("the refresh failed");
    return static_cast<double>(peak.bytes()) / static_cast<double>(bodySize);
}

}  // namespace

int main(int argc, char *argv[]) {
    qputenv("LC_ALL", "en_US.UTF-8");
    qunsetenv("LANGUAGE");
    const QTemporaryDir folder;
    qputenv("XDG_DATA_HOME", folder.path().toUtf8());
    const QCoreApplication application(argc, argv);
    HostBundle::setIdentity({QStringLiteral("com.Olvane.PelorinNews.bench"), {}, {}});
    // The feed comes from a file, so that no server's memory is measured.
    const QString path = folder.filePath(QStringLiteral("feed.xml"));
    for (const int count : {1'000, 10'000, 100'000}) {
        qint64 bodySize = 0;
        {
            const QByteArray feed = makeFeed(count);
            bodySize = feed.size();
            QFile file(path);
            if (!file.open(QFile::WriteOnly) || file.write(feed) != bodySize)
                qFatal("the feed cannot be written");
        }
        const auto cache =
            std::make_shared<OlvNewsCacheFiltered>(std::make_shared<NetworkUrlLoader>());
        cache->setFeedBaseURL(QUrl::fromLocalFile(path).toString());
        const double first = measure(cache, bodySize);
        const double second = measure(cache, bodySize);
        std::printf("%6d items, %6.1f MB: %.2f times the body, over old items %.2f\n", count,
                    static_cast<double>(bodySize) / 1e6, first, second);
    }
    return 0;
}
