#include "FeedServerState.h"

namespace pelorinnews {

void FeedServerState::setReply(const FeedReply &reply) {
    const std::lock_guard lock(mutex);
    replyForAll = reply;
}

void FeedServerState::setReplyForPath(const QByteArray &path, const FeedReply &reply) {
    const std::lock_guard lock(mutex);
    repliesByPath.insert(path, reply);
}

void FeedServerState::clearReplies() {
    const std::lock_guard lock(mutex);
    replyForAll = {};
    repliesByPath.clear();
}

FeedReply FeedServerState::replyFor(const QByteArray &path) const {
    const std::lock_guard lock(mutex);
    return repliesByPath.value(path, replyForAll);
}

void FeedServerState::addRequest(FeedRequest request) {
    const std::lock_guard lock(mutex);
    recorded.push_back(std::move(request));
    requestCame.notify_all();
}

void FeedServerState::clearRequests() {
    const std::lock_guard lock(mutex);
    recorded.clear();
}

std::vector<FeedRequest> FeedServerState::requests() const {
    const std::lock_guard lock(mutex);
    return recorded;
}

bool FeedServerState::waitForRequests(std::size_t count, std::chrono::milliseconds timeout) const {
    // Uses the system clock, because race detectors of older compilers do not know the call that
    // waits on the steady clock.
    const auto deadline = std::chrono::system_clock::now() + timeout;
    std::unique_lock lock(mutex);
    return requestCame.wait_until(lock, deadline, [&] { return recorded.size() >= count; });
}

void FeedServerState::connectionOpened() {
    const std::lock_guard lock(mutex);
    ++connections;
}

void FeedServerState::connectionClosed() {
    const std::lock_guard lock(mutex);
    --connections;
}

int FeedServerState::openConnections() const {
    const std::lock_guard lock(mutex);
    return connections;
}

}  // namespace pelorinnews
