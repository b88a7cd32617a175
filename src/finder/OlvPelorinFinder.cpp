#include "OlvPelorinFinder.h"

#include "MetadataQueryCenter.h"
#include "platform/HostBundle.h"
#include "platform/MainQueue.h"

#include <QObject>

namespace pelorinnews {

std::shared_ptr<OlvPelorinFinder> OlvPelorinFinder::init() {
    return init(HostBundle::mainBundle().copies(), {SearchScope::localComputer()});
}

std::shared_ptr<OlvPelorinFinder> OlvPelorinFinder::init(const EntryPattern &copies,
                                                         const QStringList &searchScopes,
                                                         const FileWalk::Bounds &remoteBounds) {
    std::shared_ptr<OlvPelorinFinder> finder(new OlvPelorinFinder);
    finder->_query.setSearchScopes(searchScopes);
    finder->_query.setRemoteBounds(remoteBounds);
    const std::weak_ptr<OlvPelorinFinder> weak = finder;
    const auto *center = MetadataQueryCenter::defaultCenter();
    finder->_observations = {
        QObject::connect(center, &MetadataQueryCenter::didUpdate, center,
                         [weak] {
                             if (const auto observer = weak.lock())
                                 observer->queryUpdated();
                         }),
        QObject::connect(center, &MetadataQueryCenter::didFinishGathering, center,
                         [weak] {
                             if (const auto observer = weak.lock())
                                 observer->queryGatheringFinished();
                         }),
    };
    finder->_query.setPredicate(copies);
    MainQueue::dispatchAsync([finder] { finder->_query.startQuery(); });
    return finder;
}

OlvPelorinFinder::~OlvPelorinFinder() {
    _query.stopQuery();
    for (const QMetaObject::Connection &observation : _observations)
        QObject::disconnect(observation);
}

void OlvPelorinFinder::setResult() {
    switch (_query.resultCount()) {
        case 0:
            _result = OlvFinderResultNone;
            break;
        case 1:
            _result = OlvFinderResultOne;
            break;
        default:
            _result = OlvFinderResultMany;
    }
}

void OlvPelorinFinder::queryGatheringFinished() {
    setResult();
}

void OlvPelorinFinder::queryUpdated() {
    setResult();
}

std::optional<QStringList> OlvPelorinFinder::instances() const {
    QStringList paths = _query.results();
    if (paths.isEmpty())
        return std::nullopt;
    return paths;
}

}  // namespace pelorinnews
