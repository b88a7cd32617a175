#pragma once

#include <QStringView>

namespace pelorinnews::LogVocabulary {

// Every message of the module, as a format for `logMessage`. People and programs search logs for
// these texts, so they must not change, odd spaces, hyphens and operation names included.
//
// The host's logger receives only the first two: the others come from the news cache, and the panel
// does not pass the logger on to the cache.

/// Error; argument: the error given to the completion of the refresh that may open the window.
inline constexpr QStringView refreshContentShowingWindowFailed =
    u"News Window Controller - refreshContentShowingWindow received an error: %@";

/// Error; argument: the error given to the completion of a background refresh.
inline constexpr QStringView refreshContentFailed =
    u"News Window Controller - refreshContent received an error: %@";

/// Error; argument: why the downloaded feed could not be written to the local cache file.
inline constexpr QStringView writingLocalCacheFailed =
    u"News Cache -refresh failed to write local cache: %@";

/// Error; argument: why the local cache file, which could be read, gave no items.
inline constexpr QStringView parsingLocalCacheFailed =
    u"News Cache -refresh failed to parse local cache: %@";

/// Error; argument: why the local cache file could not be read.
inline constexpr QStringView readingLocalCacheFailed =
    u"News Cache -refresh failed to read local cache: %@";

/// Error; argument: a pointer to the parse error. So the message shows an address, not the error.
inline constexpr QStringView parsingFeedFailed =
    u"News Cache -parseFeed:error: failed to parse, using old data (%@)";

/// Info; argument: the address about to be requested.
inline constexpr QStringView feedRequestReturning = u"News Cache -feedRequest returning: %@";

/// Error; argument: why the folder of the local cache file could not be created.
inline constexpr QStringView creatingCacheFolderFailed =
    u"News Cache -initializeLocalCache failed to create folder: %@";

}  // namespace pelorinnews::LogVocabulary
