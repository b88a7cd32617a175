#pragma once

#include "feed/OlvNewsCache.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QLocale>
#include <QStandardPaths>
#include <QStringList>
#include <QThread>

#include <chrono>
#include <future>

namespace pelorinnews::test {

/// One item of a feed text; absent fields are left out.
struct CacheEntry {
    QString title;
    QString category = {};
    QDateTime date = {};
};

inline QString element(const char *name, const QString &text) {
    const QLatin1String tag(name);
    if (text.isNull())
        return {};
    return QLatin1String("<") + tag + QLatin1String(">") + text + QLatin1String("</") + tag +
           QLatin1String(">");
}

inline QString feedDate(const QDateTime &date) {
    if (!date.isValid())
        return {};
    return QLocale::c().toString(date.toUTC(), QStringLiteral("ddd, dd MMM yyyy HH:mm:ss")) +
           QLatin1String(" GMT");
}

/// A feed with these items; without a language element if `language` is null.
inline QString feedText(const QString &language, const QList<CacheEntry> &entries) {
    QString text = QStringLiteral("<rss version=\"2.0\"><channel>") + element("language", language);
    for (const CacheEntry &entry : entries)
        text += QLatin1String("<item>") + element("title", entry.title) +
                element("category", entry.category) + element("pubDate", feedDate(entry.date)) +
                QLatin1String("</item>");
    return text + QLatin1String("</channel></rss>");
}

inline QString feedOfTitles(const QString &language, const QStringList &titles) {
    QList<CacheEntry> entries;
    for (const QString &title : titles)
        entries.append({title});
    return feedText(language, entries);
}

/// The result of a refresh, as its completion callback received it.
struct RefreshOutcome {
    bool ended = false;
    std::optional<Error> error = std::nullopt;
    bool onCallersThread = false;
    bool stillRetrieving = false;
};

/// Refreshes and waits for the completion callback, without running an event loop.
inline RefreshOutcome refreshAndWait(const std::shared_ptr<OlvNewsCache> &cache) {
    auto promise = std::make_shared<std::promise<RefreshOutcome>>();
    auto future = promise->get_future();
    const Qt::HANDLE caller = QThread::currentThreadId();
    cache->refresh([promise, caller, watched = cache.get()](const std::optional<Error> &error) {
        promise->set_value(
            {true, error, QThread::currentThreadId() == caller, watched->retrievingContent()});
    });
    if (future.wait_for(std::chrono::milliseconds(testPatience)) != std::future_status::ready)
        return {};
    return future.get();
}

inline QStringList titles(OlvNewsCache &cache) {
    QStringList found;
    for (quint64 index = 0; index < cache.count(); ++index)
        found << cache.itemAtIndex(index)->title();
    return found;
}

/// The folder of the cache file of a host named `identifier`.
inline QString cacheFolder(const QString &identifier) {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QLatin1Char('/') + identifier;
}

inline QByteArray utf16Bytes(const QString &text) {
    return {reinterpret_cast<const char *>(text.utf16()), text.size() * 2};
}

inline QByteArray byteOrderMark() {
    return utf16Bytes(QString(QChar(QChar::ByteOrderMark)));
}

inline bool writeBytes(const QString &path, const QByteArray &bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

inline QByteArray readBytes(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace pelorinnews::test
