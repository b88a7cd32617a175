#pragma once

#include "MetadataQuery.h"

#include <QList>
#include <QMetaObject>
#include <QString>
#include <QStringList>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

namespace pelorinnews {

/// How many copies of the host application this computer holds, as far as is known. Unscoped,
/// because the values carry the name of the enum.
enum OlvFinderResult : std::int32_t {
    OlvFinderResultPending = 1,  ///< the search has no result yet
    OlvFinderResultNone = 2,
    OlvFinderResultOne = 3,
    OlvFinderResultMany = 4  ///< two or more
};

/// Searches this computer for copies of the host application: file-system entries with the name of
/// its bundle. The search runs for the finder's lifetime, and the result follows copies that appear
/// and disappear.
///
/// Misses copies under another name, and counts other things with that name, except launchers (see
/// `EntryPattern`). Reports no errors and has no timeout: an unknown result stays pending. It also
/// stays pending if a remote home folder is too big to be read completely, unless two copies are
/// found. All its work happens on the main thread; `init` may be called, and the last reference
/// dropped, on any thread.
class OlvPelorinFinder : public std::enable_shared_from_this<OlvPelorinFinder> {
public:
    /// Makes a finder for the running application and posts the start of its search to the main
    /// thread's queue. Until the search has started, the queue also holds a reference to the
    /// finder.
    [[nodiscard]] static std::shared_ptr<OlvPelorinFinder> init();

    /// Makes a finder for entries that match `copies` in `searchScopes`, and posts the start of its
    /// search in the same way. `remoteBounds` limits the walk of each remote folder (see
    /// `MetadataQuery`).
    [[nodiscard]] static std::shared_ptr<OlvPelorinFinder> init(
        const EntryPattern &copies, const QStringList &searchScopes,
        const FileWalk::Bounds &remoteBounds = MetadataQuery::defaultRemoteBounds);

    OlvPelorinFinder(const OlvPelorinFinder &) = delete;
    OlvPelorinFinder &operator=(const OlvPelorinFinder &) = delete;
    ~OlvPelorinFinder();

    /// The current result. Never blocks.
    [[nodiscard]] OlvFinderResult result() const { return _result; }

    /// Recomputes the result from the matches found so far.
    void setResult();

    /// Called when any search of the process has finished gathering or has an update, not only the
    /// finder's own. Counts only the finder's own matches.
    void queryGatheringFinished();
    void queryUpdated();

    /// The paths of the copies found, sorted by their bytes; absent if there are none.
    [[nodiscard]] std::optional<QStringList> instances() const;

private:
    OlvPelorinFinder() = default;

    std::atomic<OlvFinderResult> _result = OlvFinderResultPending;
    MetadataQuery _query;
    QList<QMetaObject::Connection> _observations;
};

}  // namespace pelorinnews
