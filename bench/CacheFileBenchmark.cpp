#include "FeedGenerator.h"
#include "feed/LocalCacheFile.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace pelorinnews::bench {

namespace {

/// A cache file in the folder for temporary files.
class File {
public:
    [[nodiscard]] LocalCacheFile get() const {
        return LocalCacheFile(_folder.filePath(QStringLiteral("PelorinNews.xml")));
    }

private:
    QTemporaryDir _folder;
};

void writeCacheFile(benchmark::State &state) {
    const File file;
    const QByteArray body = makeFeed(static_cast<int>(state.range(0)));
    for (auto iteration : state) {
        static_cast<void>(iteration);
        Error error;
        if (!file.get().write(body, &error))
            qFatal("the file cannot be written");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.SetBytesProcessed(state.iterations() * body.size());
}

void readCacheFile(benchmark::State &state) {
    const File file;
    const QByteArray body = makeFeed(static_cast<int>(state.range(0)));
    const qsizetype size = QString::fromUtf8(body).size();
    Error error;
    if (!file.get().write(body, &error))
        qFatal("the file cannot be written");
    for (auto iteration : state) {
        static_cast<void>(iteration);
        const auto read = file.get().read(&error);
        if (!read || read->size() != size)
            qFatal("the file cannot be read");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.SetBytesProcessed(state.iterations() * size * 2);
}

BENCHMARK(writeCacheFile)->RangeMultiplier(10)->Range(10, 1'000)->UseRealTime();
BENCHMARK(readCacheFile)->RangeMultiplier(10)->Range(10, 1'000)->UseRealTime();

}  // namespace

}  // namespace pelorinnews::bench
