#include "FeedGenerator.h"
#include "feed/OlvNewsCacheFiltered.h"

#include <benchmark/benchmark.h>

namespace pelorinnews::bench {

namespace {

/// A transport that never answers.
class Silence : public UrlLoader {
public:
    Silence() = default;
    void sendAsynchronousRequest(const QUrl &, std::chrono::seconds, QThreadPool *,
                                 UrlCompletion) override {}
};

/// A cache with `count` items. The last viewing is the date of the middle item, so half of the
/// items are new.
std::shared_ptr<OlvNewsCacheFiltered> makeCache(int count) {
    auto cache = std::make_shared<OlvNewsCacheFiltered>(std::make_shared<Silence>());
    if (!cache->parseFeed(QString::fromUtf8(makeFeed(count)), nullptr))
        qFatal("the feed does not parse");
    cache->applyFilter();
    cache->setLastViewing(cache->itemAtIndex(static_cast<quint64>(count) / 2)->date());
    return cache;
}

/// Filters by three categories and the date of the last viewing.
void filter(benchmark::State &state) {
    const auto count = static_cast<int>(state.range(0));
    const auto cache = makeCache(count);
    cache->setCategoriesOfInterest({"mac", "pelorin", "critical"});
    cache->setShowOnlyUnviewedItems(true);
    for (auto iteration : state) {
        static_cast<void>(iteration);
        cache->applyFilter();
    }
    if (cache->count() == 0 || cache->count() >= static_cast<quint64>(count))
        qFatal("the filter must keep some items and drop others");
    state.SetItemsProcessed(state.iterations() * count);
    state.counters["kept"] = static_cast<double>(cache->count());
}

void countNewItems(benchmark::State &state) {
    const auto count = static_cast<int>(state.range(0));
    const auto cache = makeCache(count);
    qint64 found = 0;
    for (auto iteration : state) {
        static_cast<void>(iteration);
        found = cache->sinceLastViewingCount();
        benchmark::DoNotOptimize(found);
    }
    if (found == 0 || found >= count)
        qFatal("some items must be new and others not");
    state.SetItemsProcessed(state.iterations() * count);
    state.counters["new"] = static_cast<double>(found);
}

BENCHMARK(filter)->RangeMultiplier(10)->Range(10, 100'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(countNewItems)->RangeMultiplier(10)->Range(10, 100'000)->Unit(benchmark::kMicrosecond);

}  // namespace

}  // namespace pelorinnews::bench
