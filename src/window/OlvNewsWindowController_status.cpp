// What a host may show of the news outside of the window.

#include "OlvNewsWindowController.h"
#include "platform/MainQueue.h"

#include <utility>

namespace pelorinnews {

void OlvNewsWindowController::refreshNow() {
    if (!_exited)
        refreshCache();
}

void OlvNewsWindowController::setStatusCallback(std::function<void()> callback) {
    _statusCallback = std::move(callback);
    _hasStatusCallback = static_cast<bool>(_statusCallback);
}

void OlvNewsWindowController::refreshEnded(const std::optional<Error> &error) {
    _lastRefresh.set(NewsStatus::Refresh{QDateTime::currentDateTimeUtc(), error});
    statusChanged();
}

void OlvNewsWindowController::statusChanged() {
    if (!_hasStatusCallback)
        return;
    MainQueue::dispatchAsync([self = shared_from_this()] {
        // A copy, since the callback may replace itself. The host may have removed it meanwhile.
        if (const auto callback = self->_statusCallback)
            callback();
    });
}

}  // namespace pelorinnews
