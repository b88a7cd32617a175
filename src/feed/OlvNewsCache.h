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

/// Receives the outcome of a refresh: the error of a failed download, or nothing.
using RefreshCompletion = std::function<void(const std::optional<Error> &error)>;

/// Holds the news items: asks the feed service for the feed, parses it, keeps a copy of its text in
/// a file in the user's data folder, and falls back to that file when a download fails. A failed
/// download never removes the items.
///
/// Always owned by a `std::shared_ptr`. Thread-safe; the last reference may be released on any
/// thread.
///
/// Errors of `refresh`:
/// - "com.Olvane.PelorinNews.NewsCache.ErrorDomain": -2 no base URL, -3 `feedRequest` returned no
///   URL, -4 the download ended with neither data nor an error;
/// - "HTTP Property Status Code" with a status of 400 or more as its code;
/// - otherwise the error of the `UrlLoader`.
class OlvNewsCache : public std::enable_shared_from_this<OlvNewsCache> {
public:
    /// Timeout of a download that makes no progress.
    static constexpr std::chrono::seconds requestTimeout{60};

    /// Creates a cache without items, and the folder of its cache file.
    explicit OlvNewsCache(std::shared_ptr<UrlLoader> loader = UrlLoader::shared());
    OlvNewsCache(const OlvNewsCache &) = delete;
    OlvNewsCache &operator=(const OlvNewsCache &) = delete;
    virtual ~OlvNewsCache() = default;

    /// The feed settings; null means absent. They are read when a request is built.
    void setFeedBaseURL(const QString &url) { _feedBaseURL.set(url); }
    void setFeedType(const QString &type) { _feedType.set(type); }
    void setDesiredLocale(const QString &locale) { _desiredLocale.set(locale); }

    /// Sets the logger for the cache's own messages; null switches them off.
    void setLogger(std::shared_ptr<OlvLogger> logger) { _logger.set(std::move(logger)); }

    /// Starts a download and returns at once. `completion`, which may be empty, is called on the
    /// download queue when the refresh has ended, with new items already in place. If there is no
    /// URL to request, it is called on the calling thread before `refresh` returns. The cache and
    /// the completion stay alive at least until then.
    ///
    /// A refresh that is in progress when the application ends is abandoned: its completion is not
    /// called.
    virtual void refresh(RefreshCompletion completion);

    /// Parses the feed `text`. On success replaces the items and the retrieved language and returns
    /// true; otherwise keeps the current ones and returns false. `error` may be set in both cases:
    /// a feed that is malformed after its language element still gives the items before the error.
    bool parseFeed(const QString &text, Error *error);

    /// Whether a download is in progress. With several downloads at once, the first to end resets
    /// this to false.
    [[nodiscard]] bool retrievingContent() const { return _retrievingContent; }

    [[nodiscard]] virtual quint64 count() const;

    /// The language of the last feed that was parsed; null before the first.
    [[nodiscard]] QString retrievedLocale() const;

    /// The item at `index` in feed order, or null when there is none.
    [[nodiscard]] virtual std::shared_ptr<OlvNewsCacheItem> itemAtIndex(quint64 index);

    /// The URL to request, composed by `FeedDownload::address`; nothing without a base URL.
    /// Virtual, so that a subclass may refuse to request.
    [[nodiscard]] virtual std::optional<QUrl> feedRequest() const;

    /// Finds or creates the folder of the cache file. Without that folder, the feed is kept in
    /// memory only.
    void initializeLocalCache();

protected:
    /// Installs a parser's result and returns true. If there is no result, keeps the current items,
    /// logs the pointer `place` (not the parse error that it points to), and returns false.
    bool keepFeed(const std::optional<QVariantMap> &feed, const Error *place,
                  const FeedFingerprint &fingerprint = {});

    /// The result of one successful parse; replaced as a whole, never changed in place.
    struct Retrieved {
        OlvNewsItemListRef _feedItems;
        QString _retrievedLocale;
        std::shared_ptr<const ItemIndex> index;
        /// Fingerprint of the download; the default fingerprint if the items do not come from a
        /// download.
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
    /// The last download that was written to the cache file, and the file's stamp since our last
    /// write or touch.
    struct Written {
        FeedFingerprint fingerprint;
        LocalCacheFile::Stamp stamp;
    };
    GuardedSlot<Written> _written;
    std::atomic<bool> _retrievingContent = false;
    GuardedSlot<std::shared_ptr<OlvLogger>> _logger;
};

}  // namespace pelorinnews
