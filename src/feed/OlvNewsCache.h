#pragma once

#include "FeedFingerprint.h"
#include "ItemIndex.h"
#include "LocalCacheFile.h"
#include "OlvNewsCacheItem.h"
#include "OlvNewsItemList.h"
#include "network/UrlLoader.h"
#include "platform/GuardedSlot.h"
#include "platform/OperationQueue.h"

#include "pelorinnews/Error.h"
#include "pelorinnews/OlvLogger.h"

#include <QString>
#include <QStringView>
#include <QUrl>
#include <QVariantMap>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

namespace pelorinnews {

/// Takes the outcome of a refresh: the failed download's error, or nothing.
using RefreshCompletion = std::function<void(const std::optional<Error> &error)>;

/// Holds the news items: asks the feed service for the feed, parses it, keeps a copy of its text in
/// a file in the user's data folder, and falls back to that file when a download fails. A failed
/// download never removes the items.
///
/// Always owned by a `std::shared_ptr`. Thread-safe; the last reference may be released on any
/// thread.
///
/// Errors of `refresh`:
/// - "com.Olvane.PelorinNews.NewsCache.ErrorDomain": -2 no base address, -3 no request, -4 the
///   download ended with neither data nor an error;
/// - "HTTP Property Status Code" with a status of 400 or more as its code;
/// - otherwise the transport's.
class OlvNewsCache : public std::enable_shared_from_this<OlvNewsCache> {
public:
    /// Timeout of a download that makes no progress.
    static constexpr std::chrono::seconds requestTimeout{60};

    /// Creates an empty cache, and the folder of its file.
    explicit OlvNewsCache(std::shared_ptr<UrlLoader> loader = UrlLoader::shared());
    OlvNewsCache(const OlvNewsCache &) = delete;
    OlvNewsCache &operator=(const OlvNewsCache &) = delete;
    virtual ~OlvNewsCache() = default;

    /// The feed settings; null is absent. They are read when a request is built.
    void setFeedBaseURL(const QString &url) { _feedBaseURL.set(url); }
    void setFeedType(const QString &type) { _feedType.set(type); }
    void setDesiredLocale(const QString &locale) { _desiredLocale.set(locale); }

    /// Takes the logger for the cache's own messages; null switches them off.
    void setLogger(std::shared_ptr<OlvLogger> logger) { _logger.set(std::move(logger)); }

    /// Starts a download and returns at once. `completion`, which may be empty, is called on the
    /// download queue when the items are in place, or on the calling thread before `refresh`
    /// returns if there is no URL to request. The cache and the completion stay alive at least
    /// until then.
    ///
    /// A refresh that is in progress when the application ends is abandoned: its completion is not
    /// called.
    virtual void refresh(RefreshCompletion completion);

    /// Replaces the items and the retrieved language by those of the feed `text` and returns true,
    /// or keeps the current ones and returns false. `error` may be set in both cases: a feed that
    /// breaks off after its language still gives the items before that point.
    bool parseFeed(const QString &text, Error *error);

    /// Whether a download is in progress. With several at once, the first that ends clears it.
    [[nodiscard]] bool retrievingContent() const { return _retrievingContent; }

    /// The number of items.
    [[nodiscard]] virtual quint64 count() const;

    /// The language of the feed last parsed; null before the first.
    [[nodiscard]] QString retrievedLocale() const;

    /// The item at `index` in feed order, or null when there is none.
    [[nodiscard]] virtual std::shared_ptr<OlvNewsCacheItem> itemAtIndex(quint64 index);

    /// The URL to request, or nothing without a base URL: the base alone if it ends in ".xml", else
    /// with its query. Virtual, so that a subclass may refuse to request.
    [[nodiscard]] virtual std::optional<QUrl> feedRequest() const;

    /// Finds or creates the folder of the cache file. Without one, the cache works from memory.
    void initializeLocalCache();

protected:
    /// Installs a parser's result and returns true. Without a result keeps the current items, logs
    /// `place`, the address of the parse error, and returns false.
    bool keepFeed(const std::optional<QVariantMap> &feed, const Error *place,
                  const FeedFingerprint &fingerprint = {});

    /// The result of one successful parse; replaced as a whole, never changed in place.
    struct Retrieved {
        OlvNewsItemListRef _feedItems;
        QString _retrievedLocale;
        std::shared_ptr<const ItemIndex> index;
        /// Fingerprint of the download; the default one if the items come from elsewhere.
        FeedFingerprint fingerprint{};
    };
    GuardedSlot<Retrieved> _retrieved;

    [[nodiscard]] OlvNewsItemListRef feedItems() const { return _retrieved.get()._feedItems; }

private:
    void didFinishLoading(const std::optional<UrlResponse> &response,
                          std::optional<QByteArray> data,
                          const std::optional<Error> &connectionError,
                          const RefreshCompletion &completion);
    std::optional<Error> takeFeed(const QByteArray &body);
    [[nodiscard]] bool isCached(const FeedFingerprint &fingerprint);
    void restoreLocalCache();

    template <class... Arguments>
    void logMessage(qint32 level, QStringView format, const Arguments &...arguments) const;

    std::shared_ptr<OperationQueue> _downloadOperationQueue = OperationQueue::make();
    std::shared_ptr<UrlLoader> _loader;
    GuardedSlot<QString> _feedBaseURL;
    GuardedSlot<QString> _feedType;
    GuardedSlot<QString> _desiredLocale;
    GuardedSlot<QString> _localCacheFileName;
    /// The cache file as it was after a download's text had been written into it.
    struct Written {
        FeedFingerprint fingerprint;
        LocalCacheFile::Stamp stamp;
    };
    GuardedSlot<Written> _written;
    std::atomic<bool> _retrievingContent = false;
    GuardedSlot<std::shared_ptr<OlvLogger>> _logger;
};

}  // namespace pelorinnews
