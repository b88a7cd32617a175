#pragma once

#include "FileWalk.h"
#include "SearchScope.h"
#include "platform/EntryPattern.h"

#include <QStringList>

#include <memory>

namespace pelorinnews {

/// A live search for the file-system entries that match: gathers those that exist, then follows
/// what comes and goes, until it is stopped or destroyed.
///
/// Where the desktop's file index answers, it is asked and listened to. The whole scope, what the
/// index covers included, is walked in the background, once, and later what is mounted or appears;
/// it is watched where applications are kept and where matches were found. News are told by
/// `MetadataQueryCenter`, on the main thread. No call waits for the search. Set it up and start it
/// on the main thread; every other call is for any thread.
class MetadataQuery {
public:
    /// A remote home folder that is bigger is not searched to its end.
    static constexpr FileWalk::Bounds defaultRemoteBounds = {500'000, std::chrono::minutes(5)};

    MetadataQuery();
    ~MetadataQuery();
    MetadataQuery(const MetadataQuery &) = delete;
    MetadataQuery &operator=(const MetadataQuery &) = delete;

    /// Folders, or `SearchScope::localComputer()`, which it is without this call.
    void setSearchScopes(const QStringList &scopes);

    void setPredicate(const EntryPattern &predicate);

    /// How much of one folder of a remote file system is read. Where that is not all, the gathering
    /// ends only once two matches have been found: fewer would be no answer.
    void setRemoteBounds(const FileWalk::Bounds &bounds);

    /// Begins to gather, from nothing. False, and nothing happens, where the query is running or
    /// the system gives no thread.
    bool startQuery();

    /// Ends the search: from now on nothing changes and nothing is told. The results stay.
    void stopQuery();

    [[nodiscard]] qsizetype resultCount() const { return results().size(); }

    /// The paths found, in the order of their bytes. Empty until the first gathering has ended.
    [[nodiscard]] QStringList results() const;

private:
    struct State;
    std::shared_ptr<State> state;
};

}  // namespace pelorinnews
