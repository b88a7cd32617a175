#include "FeedPreview.h"

#include "settings/OlvNewsConfiguration.h"

#include <QTemporaryDir>

namespace pelorinnews {

namespace {

constexpr double thirtyDays = 30.0 * 24 * 60 * 60;

/// A cache that takes a result that was parsed elsewhere, including dates read in another user's
/// locale.
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

QStringList FeedPreview::categoriesOf(Type type) {
    QStringList words{QStringLiteral("mac"), QStringLiteral("pelorin")};
    if (type == CriticalOnly)
        words.append(QStringLiteral("critical"));
    return words;
}

FeedPreview::FeedPreview(const std::optional<QVariantMap> &feed) {
    const QTemporaryDir folder;
    const auto cache = makeCache(folder.path());
    if (!cache->take(feed))
        return;
    for (quint64 index = 0; index < cache->unfilteredCount(); ++index)
        _all.push_back(cache->OlvNewsCache::itemAtIndex(index));

    for (const Type type : {AllTypes, CriticalOnly}) {
        cache->setCategoriesOfInterest(categoriesOf(type));
        for (const Age age : {Unread, Recent, AnyAge}) {
            cache->setLastViewing(OlvNewsConfiguration::distantPast());
            cache->setFilterTimeInterval(age == Recent ? thirtyDays : 0);
            cache->setShowOnlyUnviewedItems(age == Unread);
            for (quint64 index = 0; index < cache->count(); ++index)
                _views[type][age].insert(cache->itemAtIndex(index).get());
        }
    }
}

}  // namespace pelorinnews
