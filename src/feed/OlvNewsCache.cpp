#include "OlvNewsCache.h"

#include "FeedDownload.h"
#include "OlvNewsParser.h"
#include "logging/LogMessage.h"
#include "logging/LogVocabulary.h"
#include "platform/FileError.h"
#include "platform/HostBundle.h"

#include <QFile>
#include <QScopeGuard>
#include <QStandardPaths>

#include <cerrno>
#include <filesystem>
#include <new>
#include <system_error>

namespace pelorinnews {

namespace {

enum class ErrorCode { NoBaseAddress = -2, NoRequest = -3 };

Error cacheError(ErrorCode code) {
    return {FeedDownload::errorDomain(), static_cast<int>(code), {}};
}

/// Runs `work`, which may return an error, and returns the error of a failed allocation as well: a
/// big feed takes tens of megabytes.
template <class Work>
std::optional<Error> withinMemory(Work work) {
    try {
        return work();
    } catch (const std::bad_alloc &) {
        return FileError::fromSystem(QFileDevice::ResourceError, ENOMEM);
    }
}

Error systemError(const std::error_code &code) {
    return {QString::fromLatin1(code.category().name()),
            code.value(),
            {{Error::localizedDescriptionKey(), QString::fromStdString(code.message())}}};
}

}  // namespace

template <class... Arguments>
void OlvNewsCache::logMessage(qint32 level, QStringView format,
                              const Arguments &...arguments) const {
    pelorinnews::logMessage(_logger.get(), level, format, arguments...);
}

OlvNewsCache::OlvNewsCache(std::shared_ptr<UrlLoader> loader) : _loader(std::move(loader)) {
    const OlvNewsItemListRef none = shareItemList(std::make_shared<OlvNewsItemList>());
    _retrieved.set({none, {}, std::make_shared<ItemIndex>(none)});
    initializeLocalCache();
}

void OlvNewsCache::refresh(RefreshCompletion completion) {
    const auto failAtOnce = [&completion](ErrorCode code) {
        if (completion)
            completion(cacheError(code));
    };
    if (_feedBaseURL.get().isNull())
        return failAtOnce(ErrorCode::NoBaseAddress);
    const std::optional<QUrl> request = feedRequest();
    if (!request)
        return failAtOnce(ErrorCode::NoRequest);

    _retrievingContent = true;
    _loader->sendAsynchronousRequest(
        *request, requestTimeout, _downloadOperationQueue->threadPool(),
        [self = shared_from_this(), completion = std::move(completion)](
            const std::optional<UrlResponse> &response, std::optional<QByteArray> data,
            const std::optional<Error> &connectionError) {
            self->didFinishLoading(response, std::move(data), connectionError, completion);
        });
}

void OlvNewsCache::didFinishLoading(const std::optional<UrlResponse> &response,
                                    std::optional<QByteArray> data,
                                    const std::optional<Error> &connectionError,
                                    const RefreshCompletion &completion) {
    if (_downloadOperationQueue->isStopped())
        return;
    const auto retrieved = qScopeGuard([this] { _retrievingContent = false; });
    std::optional<Error> error = FeedDownload::downloadError(response, data, connectionError);
    if (!error)
        error = withinMemory([&] { return takeFeed(*data); });

    data.reset();
    if (error)
        restoreLocalCache();
    if (completion && !_downloadOperationQueue->isStopped())
        completion(error);
}

std::optional<Error> OlvNewsCache::takeFeed(const QByteArray &body) {
    // The parser and the file get the bytes, never one decoded string: for a big feed, that string
    // would be the largest object in memory. Bytes that are not UTF-8 count as an absent text.
    const FeedFingerprint fingerprint{QByteArrayView(body)};
    if (isCached(fingerprint))
        return std::nullopt;
    const bool isText = body.isValidUtf8();
    Error parseError;
    OlvNewsParser parser;
    keepFeed(isText ? parser.parse(QByteArrayView(body), &parseError) : std::nullopt, &parseError,
             fingerprint);
    if (!feedItems())
        return parseError;
    // Write the download to the file even if it did not parse.
    if (!isText)
        return std::nullopt;
    Error writeError;
    if (const auto stamp = LocalCacheFile(_localCacheFileName.get()).write(body, &writeError))
        _written.set({fingerprint, *stamp});
    else
        logMessage(LogLevelError, LogVocabulary::writingLocalCacheFailed, writeError);
    return std::nullopt;
}

bool OlvNewsCache::isCached(const FeedFingerprint &fingerprint) {
    // Cache hit: most downloads bring the same bytes again. Parsing and writing them again would
    // change nothing but the file's date.
    const Written written = _written.get();
    if (_retrieved.get().fingerprint != fingerprint || written.fingerprint != fingerprint)
        return false;
    const auto stamp = LocalCacheFile(_localCacheFileName.get()).touchIfUnchanged(written.stamp);
    if (stamp)
        _written.set({fingerprint, *stamp});
    return stamp.has_value();
}

void OlvNewsCache::restoreLocalCache() {
    const auto restore = [this]() -> std::optional<Error> {
        Error error;
        const auto text = LocalCacheFile(_localCacheFileName.get()).read(&error);
        if (!text)
            return error;
        parseFeed(*text, &error);
        if (!feedItems())
            logMessage(LogLevelError, LogVocabulary::parsingLocalCacheFailed, error);
        return std::nullopt;
    };
    if (const auto readError = withinMemory(restore))
        logMessage(LogLevelError, LogVocabulary::readingLocalCacheFailed, *readError);
}

bool OlvNewsCache::parseFeed(const QString &text, Error *error) {
    OlvNewsParser parser;
    return keepFeed(parser.parse(text, error), error);
}

bool OlvNewsCache::keepFeed(const std::optional<QVariantMap> &feed, const Error *place,
                            const FeedFingerprint &fingerprint) {
    if (!feed) {
        logMessage(LogLevelError, LogVocabulary::parsingFeedFailed, place);
        return false;
    }
    const OlvNewsItemListRef items = shareItemList(
        feed->value(OlvNewsFeedNewsCacheItemsKeyName).value<std::shared_ptr<OlvNewsItemList>>());
    _retrieved.set({items, feed->value(OlvNewsFeedChannelLanguageKeyName).toString(),
                    std::make_shared<ItemIndex>(items), fingerprint});
    return true;
}

quint64 OlvNewsCache::count() const {
    const OlvNewsItemListRef items = feedItems();
    return items ? items->size() : 0;
}

QString OlvNewsCache::retrievedLocale() const {
    return _retrieved.get()._retrievedLocale;
}

std::shared_ptr<OlvNewsCacheItem> OlvNewsCache::itemAtIndex(quint64 index) {
    const OlvNewsItemListRef items = feedItems();
    return items && index < items->size() ? (*items)[index] : nullptr;
}

std::optional<QUrl> OlvNewsCache::feedRequest() const {
    const QString base = _feedBaseURL.get();
    if (base.isNull())
        return std::nullopt;
    const QString address = FeedDownload::address(base, _desiredLocale.get(), _feedType.get());
    logMessage(LogLevelInfo, LogVocabulary::feedRequestReturning, address);
    return QUrl(address, QUrl::TolerantMode);
}

void OlvNewsCache::initializeLocalCache() {
    _localCacheFileName.set({});
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    const QString identifier = HostBundle::mainBundle().identifier();
    if (data.isEmpty() || identifier.isEmpty())
        return;
    const QString folder = data + QLatin1Char('/') + identifier;
    std::error_code failure;
    std::filesystem::create_directories(QFile::encodeName(folder).toStdString(), failure);
    if (failure) {
        logMessage(LogLevelError, LogVocabulary::creatingCacheFolderFailed, systemError(failure));
        return;
    }
    _localCacheFileName.set(folder + QLatin1String("/PelorinNews.xml"));
}

}  // namespace pelorinnews
