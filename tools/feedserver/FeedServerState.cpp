#include "FeedServerState.h"

namespace pelorinnews {

void FeedServerState::setReply(const FeedReply &reply) {
    const std::lock_guard lock(_mutex);
    _replyForAll = reply;
}

void FeedServerState::setReplyForPath(const QByteArray &path, const FeedReply &reply) {
    const std::lock_guard lock(_mutex);
    _repliesByPath.insert(path, reply);
}

void FeedServerState::clearReplies() {
    const std::lock_guard lock(_mutex);
    _replyForAll = {};
    _repliesByPath.clear();
}

FeedReply FeedServerState::replyFor(const QByteArray &path) const {
    const std::lock_guard lock(_mutex);
    return _repliesByPath.value(path, _replyForAll);
}

void FeedServerState::addRequest(FeedRequest request) {
    const std::lock_guard lock(_mutex);
    _recorded.push_back(std::move(request));
    _requestCame.notify_all();
}

void FeedServerState::clearRequests() {
    const std::lock_guard lock(_mutex);
    _recorded.clear();
}

std::vector<FeedRequest> FeedServerState::requests() const {
    const std::lock_guard lock(_mutex);
    return _recorded;
}

bool FeedServerState::waitForRequests(std::size_t count, std::chrono::milliseconds timeout) const {
    // Uses the system clock, because race detectors of older compilers do not know the call that
    // waits on the steady clock.
    const auto deadline = std::chrono::system_clock::now() + timeout;
    std::unique_lock lock(_mutex);
    return _requestCame.wait_until(lock, deadline, [&] { return _recorded.size() >= count; });
}

void FeedServerState::connectionOpened() {
    const std::lock_guard lock(_mutex);
    ++_connections;
}

void FeedServerState::connectionClosed() {
    const std::lock_guard lock(_mutex);
    --_connections;
}

int FeedServerState::openConnections() const {
    const std::lock_guard lock(_mutex);
    return _connections;
}

}  // namespace pelorinnews
