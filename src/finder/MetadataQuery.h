#pragma once

#include "FileWalk.h"
#include "SearchScope.h"
#include "platform/EntryPattern.h"

#include <QStringList>

#include <memory>

namespace pelorinnews {

/// A live search for file-system entries that match. Gathers the existing ones, then follows
/// entries that appear and disappear, until it is stopped or destroyed.
///
/// Queries the desktop's file index, if one replies, and follows its change signals. Also walks the
/// whole scope once in the background, including what the index covers, and later each file system
/// that is mounted and each folder that appears in a watched one. Watches the folders where
/// applications are kept and the folders above each match. `MetadataQueryCenter` reports results on
/// the main thread. No call blocks on the search. Set up and start on the main thread; all other
/// calls are thread-safe.
class MetadataQuery {
public:
    /// The default bounds for the walk of a remote home folder.
    static constexpr FileWalk::Bounds defaultRemoteBounds = {500'000, std::chrono::minutes(5)};

    MetadataQuery();
    ~MetadataQuery();
    MetadataQuery(const MetadataQuery &) = delete;
    MetadataQuery &operator=(const MetadataQuery &) = delete;

    /// Folders, or `SearchScope::localComputer()`, which is the default.
    void setSearchScopes(const QStringList &scopes);

    void setPredicate(const EntryPattern &predicate);

    /// Bounds for the walk of each folder on a remote file system. If a walk stops at its bounds,
    /// unread folders may hold more matches. Gathering then ends only once two matches are found,
    /// which settles that there are several.
    void setRemoteBounds(const FileWalk::Bounds &bounds);

    /// Clears the results and starts to gather. False if the query is already running (then a
    /// no-op) or the system provides no thread.
    bool startQuery();

    /// Ends the search: afterwards nothing changes and nothing is reported. The results stay.
    void stopQuery();

    [[nodiscard]] qsizetype resultCount() const { return results().size(); }

    /// The paths found, sorted by their bytes. Empty until the first gathering has ended.
    [[nodiscard]] QStringList results() const;

private:
    struct State;
    std::shared_ptr<State> _state;
};

}  // namespace pelorinnews
