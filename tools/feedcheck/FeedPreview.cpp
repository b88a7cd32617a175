#include "FeedPreview.h"

#include "settings/OlvNewsConfiguration.h"

#include <QTemporaryDir>

namespace pelorinnews {

namespace {

/// A cache that gets its items from the result of a parser, which may have read the dates in
/// another user's locale.
class PreviewCache : public OlvNewsCacheFiltered {
public:
    using OlvNewsCacheFiltered::OlvNewsCacheFiltered;
    bool take(const std::optional<QVariantMap> &feed) { return keepFeed(feed, nullptr); }
};

/// A cache whose file is in `folder`, not in the user's data folder.
std::shared_ptr<PreviewCache> makeCache(const QString &folder) {
    constexpr auto variable = "XDG_DATA_HOME";
    const QByteArray before = qgetenv(variable);
    qputenv(variable, QFile::encodeName(folder));
    auto cache = std::make_shared<PreviewCache>();
    if (before.isNull())
        qunsetenv(variable);
    else
        qputenv(variable, before);
    return cache;
}

}  // namespace

FeedPreview::FeedPreview(const std::optional<QVariantMap> &feed) {
    const QTemporaryDir folder;
    const auto cache = makeCache(folder.path());
    if (!cache->take(feed))
        return;
    for (quint64 index = 0; index < cache->unfilteredCount(); ++index)
        _all.push_back(cache->OlvNewsCache::itemAtIndex(index));

    for (const NewsTypeFilter type : {NewsTypeFilter::All, NewsTypeFilter::Critical}) {
        cache->setCategoriesOfInterest(categoriesOf(type));
        for (const NewsFilter age : {NewsFilter::Unread, NewsFilter::Recent, NewsFilter::All}) {
            cache->setLastViewing(OlvNewsConfiguration::distantPast());
            cache->setFilterTimeInterval(
                age == NewsFilter::Recent ? static_cast<double>(recentNews.count()) : 0);
            cache->setShowOnlyUnviewedItems(age == NewsFilter::Unread);
            for (quint64 index = 0; index < cache->count(); ++index)
                _views[{type, age}].insert(cache->itemAtIndex(index).get());
        }
    }
}

}  // namespace pelorinnews
