#pragma once

#include <QStringView>

namespace pelorinnews::LogVocabulary {

// Every message of the module, as a format for `logMessage`. People and programs search logs for
// these texts, so they stay as they are, odd spaces, hyphens and operation names included.
//
// The host's logger receives the first two alone: the panel does not hand it to the news cache,
// whose messages the others are.

/// Error; argument: the error given to the completion of the refresh that may open the window.
inline constexpr QStringView refreshContentShowingWindowFailed =
    u"News Window Controller - refreshContentShowingWindow received an error: %@";

/// Error; argument: the error given to the completion of a background refresh.
inline constexpr QStringView refreshContentFailed =
    u"News Window Controller - refreshContent received an error: %@";

/// Error; argument: why the downloaded feed could not be written to the local cache file.
inline constexpr QStringView writingLocalCacheFailed =
    u"News Cache -refresh failed to write local cache: %@";

/// Error; argument: why the local cache file, though read, gave no items.
inline constexpr QStringView parsingLocalCacheFailed =
    u"News Cache -refresh failed to parse local cache: %@";

/// Error; argument: why the local cache file could not be read.
inline constexpr QStringView readingLocalCacheFailed =
    u"News Cache -refresh failed to read local cache: %@";

/// Error; argument: the place where the caller wants a parse error stored (`Error *`), not the
/// error in it.
inline constexpr QStringView parsingFeedFailed =
    u"News Cache -parseFeed:error: failed to parse, using old data (%@)";

/// Info; argument: the address about to be requested.
inline constexpr QStringView feedRequestReturning = u"News Cache -feedRequest returning: %@";

/// Error; argument: why the folder of the local cache file could not be created.
inline constexpr QStringView creatingCacheFolderFailed =
    u"News Cache -initializeLocalCache failed to create folder: %@";

}  // namespace pelorinnews::LogVocabulary
