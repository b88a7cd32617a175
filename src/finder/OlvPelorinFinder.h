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

/// How many copies of the host application this computer holds, as far as is known.
enum OlvFinderResult : std::int32_t {
    OlvFinderResultPending = 1,  ///< the search has not answered yet
    OlvFinderResultNone = 2,
    OlvFinderResultOne = 3,
    OlvFinderResultMany = 4  ///< two or more
};

/// Searches this computer for copies of the host application: for file-system entries that bear
/// the name of its bundle. The search runs as long as the finder lives, and the result follows the
/// copies that come and go.
///
/// Copies under another name are not found, and something else of that name is, but for launchers
/// (see `EntryPattern`). Reports no failure and never times out: what is not known stays pending,
/// and so it does where a remote home folder is too big to be read to its end, unless two copies
/// were found. All its work happens on the main thread;
/// `init` may be called, and the last reference dropped, on any thread.
class OlvPelorinFinder : public std::enable_shared_from_this<OlvPelorinFinder> {
public:
    /// Makes a finder for the application that this process is, and posts the start of its search
    /// to the main thread's queue; until that has run, the queue holds the finder too.
    [[nodiscard]] static std::shared_ptr<OlvPelorinFinder> init();

    /// The same for the entries that match `copies` in `searchScopes`, reading no more of each
    /// remote folder than `remoteBounds` (see `MetadataQuery`).
    [[nodiscard]] static std::shared_ptr<OlvPelorinFinder> init(
        const EntryPattern &copies, const QStringList &searchScopes,
        const FileWalk::Bounds &remoteBounds = MetadataQuery::defaultRemoteBounds);

    OlvPelorinFinder(const OlvPelorinFinder &) = delete;
    OlvPelorinFinder &operator=(const OlvPelorinFinder &) = delete;
    ~OlvPelorinFinder();

    /// The answer as it stands. Never waits.
    [[nodiscard]] OlvFinderResult result() const { return _result; }

    /// Computes the answer anew from what the search has found by now.
    void setResult();

    /// What to do when a search has gathered, or has news. The finder listens to every search of
    /// the process: it only counts its own results, so another's news do no harm.
    void queryGatheringFinished();
    void queryUpdated();

    /// The paths of the copies found, in the search's order; absent where there are none.
    [[nodiscard]] std::optional<QStringList> instances() const;

private:
    OlvPelorinFinder() = default;

    std::atomic<OlvFinderResult> _result = OlvFinderResultPending;
    MetadataQuery _query;
    QList<QMetaObject::Connection> _observations;
};

}  // namespace pelorinnews
