#include "MetadataQuery.h"

#include "ApplicationFolders.h"
#include "MetadataQueryCenter.h"
#include "MetadataQueryWorker.h"
#include "platform/BackgroundTask.h"
#include "platform/GuardedSlot.h"
#include "platform/MainQueue.h"

#include <QDir>
#include <QFile>

#include <utility>

namespace pelorinnews {

struct MetadataQuery::State {
    QStringList scopes{SearchScope::localComputer()};
    EntryPattern predicate;
    FileWalk::Bounds remoteBounds = defaultRemoteBounds;
    GuardedSlot<std::shared_ptr<BackgroundTask>> task;
    GuardedSlot<QStringList> results;
};

MetadataQuery::MetadataQuery() : _state(std::make_shared<State>()) {}

MetadataQuery::~MetadataQuery() {
    stopQuery();
}

void MetadataQuery::setSearchScopes(const QStringList &scopes) {
    _state->scopes = scopes;
}

void MetadataQuery::setPredicate(const EntryPattern &predicate) {
    _state->predicate = predicate;
}

void MetadataQuery::setRemoteBounds(const FileWalk::Bounds &bounds) {
    _state->remoteBounds = bounds;
}

bool MetadataQuery::startQuery() {
    if (_state->task.get())
        return false;
    _state->results.set({});
    const MetadataQuery *identity = this;
    MetadataQueryWorker::Search search{_state->predicate, _state->scopes,
                                       QFile::encodeName(QDir::homePath()), applicationFolders(),
                                       _state->remoteBounds};
    auto work = [weak = std::weak_ptr(_state), identity, search](BackgroundTask &task) {
        auto tell = [weak, identity, running = task.weak_from_this()](
                        const QStringList &paths, MetadataQueryWorker::News news) {
            MainQueue::dispatchAsync([weak, identity, running, paths, news] {
                const auto query = weak.lock();
                const auto teller = running.lock();
                // Drop stale reports of a search that has been stopped.
                if (!query || !teller || query->task.get() != teller)
                    return;
                query->results.set(paths);
                MetadataQueryCenter *center = MetadataQueryCenter::defaultCenter();
                if (news == MetadataQueryWorker::News::Gathered)
                    Q_EMIT center->didFinishGathering(identity);
                else
                    Q_EMIT center->didUpdate(identity);
            });
        };
        MetadataQueryWorker::run(task, search, std::move(tell));
    };
    auto task = BackgroundTask::start("pelorin-search", std::move(work));
    if (!task)
        return false;
    _state->task.set(std::move(task));
    return true;
}

void MetadataQuery::stopQuery() {
    if (const auto task = _state->task.exchange(nullptr))
        task->stop();
}

QStringList MetadataQuery::results() const {
    return _state->results.get();
}

}  // namespace pelorinnews
