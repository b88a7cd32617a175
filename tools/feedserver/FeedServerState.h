#pragma once

#include "FeedReply.h"
#include "FeedRequest.h"

#include <QByteArray>
#include <QHash>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

namespace pelorinnews {

/// State that the server's thread and its callers share. Thread-safe.
class FeedServerState {
public:
    void setReply(const FeedReply &reply);
    void setReplyForPath(const QByteArray &path, const FeedReply &reply);
    void clearReplies();
    /// The reply that is set for `path`, else the reply that is set for all paths.
    [[nodiscard]] FeedReply replyFor(const QByteArray &path) const;

    void addRequest(FeedRequest request);
    void clearRequests();
    [[nodiscard]] std::vector<FeedRequest> requests() const;
    [[nodiscard]] bool waitForRequests(std::size_t count, std::chrono::milliseconds timeout) const;

    void connectionOpened();
    void connectionClosed();
    [[nodiscard]] int openConnections() const;

private:
    mutable std::mutex _mutex;
    mutable std::condition_variable _requestCame;
    FeedReply _replyForAll;
    QHash<QByteArray, FeedReply> _repliesByPath;
    std::vector<FeedRequest> _recorded;
    int _connections = 0;
};

}  // namespace pelorinnews
