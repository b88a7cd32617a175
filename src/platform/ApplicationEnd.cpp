#include "ApplicationEnd.h"

#include <QCoreApplication>

#include <mutex>
#include <set>
#include <utility>

namespace pelorinnews::ApplicationEnd {

namespace {

class Actions {
public:
    /// Returns whether the post routine must be registered with Qt, or registered again.
    bool add(Phase phase, Action action) {
        const std::lock_guard lock(_mutex);
        const bool isFirst = _waiting.empty();
        _waiting.emplace(phase, action);
        return isFirst || phase == Phase::Windows;
    }

    /// The next action; null if none is left.
    Action takeFirst() {
        const std::lock_guard lock(_mutex);
        return _waiting.empty() ? nullptr : _waiting.extract(_waiting.begin()).value().second;
    }

private:
    std::mutex _mutex;
    std::set<std::pair<Phase, Action>> _waiting;
};

// Never destroyed: threads may add actions as long as the process lives.
Actions &actions() {
    static auto *const only = new Actions;
    return *only;
}

void run() {
    while (const Action action = actions().takeFirst())
        action();
}

}  // namespace

void add(Phase phase, Action action) {
    if (!actions().add(phase, action))
        return;
    // Remove before adding, so that the routine is registered once, as the newest, however many
    // windows a host has.
    qRemovePostRoutine(run);
    qAddPostRoutine(run);
}

}  // namespace pelorinnews::ApplicationEnd
