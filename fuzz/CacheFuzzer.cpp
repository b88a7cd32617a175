// The promise tested: whatever a download or the cache file holds, the cache has the items that the
// parser finds in it, its view has those that meet the filter, and the file brings the items back.

#include "Input.h"
#include "MemoryFolder.h"
#include "feed/OlvNewsCacheFiltered.h"
#include "feed/OlvNewsParser.h"
#include "platform/HostBundle.h"

#include <QCoreApplication>
#include <QFile>

#include <cmath>
#include <limits>

using namespace pelorinnews;

namespace {

using Items = std::vector<std::shared_ptr<OlvNewsCacheItem>>;

const QDateTime now(QDate(2015, 3, 10), QTime(12, 0), Qt::UTC);
const QString identifier = QStringLiteral("com.example.Fuzz");

void require(bool holds, const char *what) {
    if (!holds)
        qFatal("%s", what);
}

/// Gives each request the same answer at once, on the caller's thread: `body`, or an error if that
/// is absent.
class AtOnceLoader : public UrlLoader {
public:
    explicit AtOnceLoader(std::optional<QByteArray> answer) : _body(std::move(answer)) {}

    void sendAsynchronousRequest(const QUrl &, std::chrono::seconds, QThreadPool *,
                                 UrlCompletion completion) override {
        if (_body)
            completion(UrlResponse{200}, _body, std::nullopt);
        else
            completion(std::nullopt, std::nullopt, Error{QStringLiteral("fuzz"), 1, {}});
    }

private:
    std::optional<QByteArray> _body;
};

struct Conditions {
    QStringList categories;
    double age = 0;
    bool showsOnlyUnviewed = false;
    QDateTime lastViewing;
};

std::shared_ptr<OlvNewsCacheFiltered> makeCache(const std::optional<QByteArray> &download) {
    auto cache = std::make_shared<OlvNewsCacheFiltered>(std::make_shared<AtOnceLoader>(download),
                                                        [] { return now; });
    cache->setFeedBaseURL(QStringLiteral("http://127.0.0.1/feed"));
    return cache;
}

void refresh(OlvNewsCacheFiltered &cache) {
    bool hasEnded = false;
    cache.refresh([&hasEnded](const std::optional<Error> &) { hasEnded = true; });
    require(hasEnded && !cache.retrievingContent(), "a refresh has not ended");
}

Items allItems(OlvNewsCacheFiltered &cache) {
    Items items;
    while (auto item = cache.OlvNewsCache::itemAtIndex(items.size()))
        items.push_back(std::move(item));
    require(items.size() == cache.unfilteredCount(), "the cache counts other items");
    return items;
}

/// What the cache holds: its language, then its items.
QStringList contentsOf(OlvNewsCacheFiltered &cache) {
    QStringList contents = {cache.retrievedLocale()};
    for (const auto &item : allItems(cache))
        contents.append(item->description());
    return contents;
}

template <class Text>
QStringList contentsOfFeed(const Text &text) {
    OlvNewsParser parser;
    const std::optional<QVariantMap> feed = parser.parse(text);
    if (!feed)
        return {QString()};
    QStringList contents = {feed->value(OlvNewsFeedChannelLanguageKeyName).toString()};
    for (const auto &item :
         *feed->value(OlvNewsFeedNewsCacheItemsKeyName).value<std::shared_ptr<OlvNewsItemList>>())
        contents.append(item->description());
    return contents;
}

bool isLater(const QDateTime &date, const QDateTime &other) {
    return date.isValid() && other.isValid() && date > other;
}

bool isYoungEnough(const QDateTime &date, double age) {
    if (age == 0)
        return true;
    if (!date.isValid() || std::isnan(age))
        return false;
    if (std::isinf(age))
        return age > 0;
    return date > now.addSecs(-static_cast<qint64>(age));
}

Items filtered(const Items &items, const Conditions &conditions) {
    Items passed;
    for (const auto &item : items) {
        bool hasCategories = conditions.categories.isEmpty() || !item->category().isNull();
        for (const QString &category : conditions.categories)
            hasCategories = hasCategories && item->category().contains(category);
        if (hasCategories && isYoungEnough(item->date(), conditions.age) &&
            (!conditions.showsOnlyUnviewed || isLater(item->date(), conditions.lastViewing)))
            passed.push_back(item);
    }
    return passed;
}

void checkView(OlvNewsCacheFiltered &cache, const Items &expected, Conditions &conditions) {
    require(cache.count() == expected.size(), "the view has another number of items");
    std::shared_ptr<OlvNewsCacheItem> latest = expected.empty() ? nullptr : expected.front();
    qint64 unviewed = 0;
    for (const auto &item : expected) {
        if (isLater(item->date(), latest->date()) ||
            (item->date().isValid() && !latest->date().isValid()))
            latest = item;
        if (isLater(item->date(), conditions.lastViewing))
            ++unviewed;
    }
    require(cache.peekAtLatestItem() == latest, "another item is the latest");
    require(cache.sinceLastViewingCount() == unviewed, "another number of items is unviewed");
    for (size_t i = 0; i < expected.size(); ++i) {
        require(cache.itemAtIndex(i) == expected[i], "the view has another item");
        if (isLater(expected[i]->date(), conditions.lastViewing))
            conditions.lastViewing = expected[i]->date();
        require(cache.lastViewing() == conditions.lastViewing, "another date is the last viewing");
    }
    require(!cache.itemAtIndex(expected.size()), "the view has one more item");
}

void checkFilter(OlvNewsCacheFiltered &cache, Conditions conditions) {
    const Items items = allItems(cache);
    cache.setLastViewing(conditions.lastViewing);
    cache.setCategoriesOfInterest(conditions.categories);
    cache.setFilterTimeInterval(conditions.age);
    cache.setShowOnlyUnviewedItems(conditions.showsOnlyUnviewed);
    checkView(cache, filtered(items, conditions), conditions);
    // Reading the items has moved the last viewing.
    cache.applyFilter();
    checkView(cache, filtered(items, conditions), conditions);
}

QString cacheFile() {
    static const MemoryFolder folder;
    qputenv("XDG_DATA_HOME", QFile::encodeName(folder.path()));
    return folder.path() + QLatin1Char('/') + identifier + QStringLiteral("/PelorinNews.xml");
}

void download(const QByteArray &body, const Conditions &conditions) {
    const auto cache = makeCache(body);
    refresh(*cache);
    const QStringList contents = contentsOf(*cache);
    require(contents == (body.isValidUtf8() ? contentsOfFeed(QByteArrayView(body))
                                            : QStringList{QString()}),
            "a download gives other items");
    checkFilter(*cache, conditions);

    const Items items = allItems(*cache);
    refresh(*cache);
    require(contentsOf(*cache) == contents, "the same download gives other items");

    const auto restored = makeCache(std::nullopt);
    refresh(*restored);
    require(contentsOf(*restored) == contents, "the file gives other items than the download");
}

/// The text of a cache file; null if the file has none.
QString textOfFile(const QByteArray &bytes) {
    if (bytes.size() < 2 || bytes.size() % 2 != 0)
        return {};
    const bool isBigEndian = bytes.startsWith("\xFE\xFF");
    if (!isBigEndian && !bytes.startsWith("\xFF\xFE"))
        return {};
    QString text = QStringLiteral("");
    for (qsizetype i = 2; i < bytes.size(); i += 2) {
        const auto first = static_cast<uchar>(bytes[i]);
        const auto second = static_cast<uchar>(bytes[i + 1]);
        text.append(isBigEndian ? QChar(second, first) : QChar(first, second));
    }
    return text.isValidUtf16() ? text : QString();
}

void restore(const QByteArray &bytes, const Conditions &conditions) {
    QFile file(cacheFile());
    require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(),
            "the cache file cannot be written");
    file.close();
    const auto cache = makeCache(std::nullopt);
    refresh(*cache);
    const QString text = textOfFile(bytes);
    require(contentsOf(*cache) == (text.isNull() ? QStringList{QString()} : contentsOfFeed(text)),
            "the file gives other items");
    checkFilter(*cache, conditions);
}

double ageOf(quint8 kind, qint32 seconds) {
    switch (kind % 8) {
        case 1:
            return seconds;
        case 2:
            return std::numeric_limits<double>::infinity();
        case 3:
            return -std::numeric_limits<double>::infinity();
        case 4:
            return std::numeric_limits<double>::quiet_NaN();
        default:
            return 0;
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv) {
    qputenv("LC_ALL", "en_US.UTF-8");
    qputenv("LANGUAGE", "en_US");
    qputenv("QT_LOGGING_RULES", "*.warning=false");
    static const QCoreApplication application(*argc, *argv);
    HostBundle::setIdentity({identifier, {}, {}});
    // Creates the folder.
    static_cast<void>(cacheFile());
    makeCache(std::nullopt);
    return 0;
}

/// The first byte's bits say whether the bytes are the cache file (1) instead of a download,
/// whether a last viewing is set (2), and whether only unviewed items are shown (4); the upper bits
/// select the age's kind. Then follow the age and the time of the last viewing (4 bytes each, in
/// seconds; the latter relative to now), the categories (a line, separated by commas) and the
/// bytes.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(QByteArrayView(data, static_cast<qsizetype>(size)));
    const auto bits = input.value<quint8>();
    Conditions conditions;
    conditions.showsOnlyUnviewed = (bits & 4) != 0;
    conditions.age = ageOf(bits >> 3, input.value<qint32>());
    const auto viewed = input.value<qint32>();
    if ((bits & 2) != 0)
        conditions.lastViewing = now.addSecs(viewed);
    const QByteArrayView categories = input.bytesUntil('\n');
    if (!categories.isEmpty())
        conditions.categories = QString::fromUtf8(categories).split(QLatin1Char(','));
    const QByteArray bytes = input.rest().toByteArray();
    QFile::remove(cacheFile());
    if ((bits & 1) != 0)
        restore(bytes, conditions);
    else
        download(bytes, conditions);
    return 0;
}
