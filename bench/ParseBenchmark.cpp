#include "FeedGenerator.h"
#include "PeakMemory.h"
#include "feed/OlvNewsParser.h"

#include <QStringDecoder>

#include <benchmark/benchmark.h>
#include <chrono>
#include <expat.h>

namespace pelorinnews::bench {

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// The baseline: expat alone parses `feed`, in one piece and with empty handlers.
void readBare(const QByteArray &feed) {
    const XML_Parser parser = XML_ParserCreate("UTF-8");
    XML_SetElementHandler(
        parser, [](void *, const XML_Char *, const XML_Char **) {},
        [](void *, const XML_Char *) {});
    XML_SetCharacterDataHandler(parser, [](void *, const XML_Char *, int) {});
    XML_SetCdataSectionHandler(
        parser, [](void *) {}, [](void *) {});
    if (XML_Parse(parser, feed.constData(), static_cast<int>(feed.size()), 1) != XML_STATUS_OK)
        qFatal("the feed does not parse");
    XML_ParserFree(parser);
}

OlvNewsItemList itemsOf(const std::optional<QVariantMap> &result) {
    if (!result)
        qFatal("the parser returned nothing");
    return *result->value(OlvNewsFeedNewsCacheItemsKeyName)
                .value<std::shared_ptr<OlvNewsItemList>>();
}

OlvNewsItemList itemsFromBytes(const QByteArray &body) {
    if (!body.isValidUtf8())
        qFatal("the feed is not UTF-8");
    return itemsOf(OlvNewsParser().parse(QByteArrayView(body)));
}

OlvNewsItemList itemsThroughText(const QByteArray &body) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(body);
    if (decoder.hasError())
        qFatal("the feed is not UTF-8");
    return itemsOf(OlvNewsParser().parse(text));
}

/// Times `parse` and `readBare` alternately, so that the computer's load affects both alike.
template <class Parse>
void measure(benchmark::State &state, Parse parse) {
    const auto count = static_cast<int>(state.range(0));
    const QByteArray feed = makeFeed(count);
    double bare = 0;
    double whole = 0;
    double release = 0;
    for (auto iteration : state) {
        static_cast<void>(iteration);
        auto start = Clock::now();
        readBare(feed);
        bare += secondsSince(start);

        start = Clock::now();
        OlvNewsItemList items = parse(feed);
        const double seconds = secondsSince(start);
        whole += seconds;
        state.SetIterationTime(seconds);
        if (items.size() != static_cast<size_t>(count) || !items.back()->date().isValid())
            qFatal("items or dates are missing");

        start = Clock::now();
        items = {};
        release += secondsSince(start);
    }
    const PeakMemory peak;
    const OlvNewsItemList items = parse(feed);
    const auto body = static_cast<double>(feed.size());
    // The body counts, too, but was in memory before `peak` was created: add 1 to the ratio.
    state.counters["peak/body"] = static_cast<double>(peak.bytes()) / body + 1;

    const auto items_read = static_cast<double>(state.iterations()) * count;
    state.counters["items/s"] = items_read / whole;
    state.counters["MB/s"] = body * static_cast<double>(state.iterations()) / whole / 1e6;
    state.counters["bare_items/s"] = items_read / bare;
    state.counters["ratio"] = whole / bare;
    state.counters["release_ns/item"] = release / items_read * 1e9;
}

void parseBytes(benchmark::State &state) {
    measure(state, itemsFromBytes);
}

void parseText(benchmark::State &state) {
    measure(state, itemsThroughText);
}

BENCHMARK(parseBytes)->RangeMultiplier(10)->Range(10, 100'000)->UseManualTime();
BENCHMARK(parseText)->RangeMultiplier(10)->Range(10, 100'000)->UseManualTime();

}  // namespace

}  // namespace pelorinnews::bench
