#pragma once

#include "FeedReply.h"
#include "FeedRequest.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

namespace pelorinnews {

class FeedServerState;

/// Where a FeedServer finds its feeds, and how it listens.
struct FeedServerOptions {
    /// The folder of feeds. `standard.de.xml` is the feed of type "standard" in German; every
    /// `.xml` file is also served by its own name. If empty, there are no feeds: every request for
    /// one gets 404.
    QString feedFolder;
    /// The certificate chain and its private key, PEM files. Both empty: HTTP, else HTTPS.
    QString certificateFile;
    QString privateKeyFile;
    /// 0 takes any free port.
    quint16 port = 0;
};

/// A feed service on the loopback interface for development and tests.
///
/// It answers `/RSS_Feed/PelorinNews.php` by the query's `locale` and `type`, and `/NAME.xml` with
/// that file of the folder. A `FeedReply` changes the answer for all requests, for one path, or in
/// the request itself: a path that begins with `/+OPTIONS/` is answered with the reply that
/// `FeedReply::parse` reads from OPTIONS, for the path that follows (`/+status=503/feed.xml`).
///
/// The sockets live on the server's own thread, so it answers while the caller's thread is blocked.
/// Every member may be called from any thread, but `start` and `stop` must not run concurrently.
class FeedServer {
public:
    explicit FeedServer(FeedServerOptions options = {});
    /// Calls `stop`.
    ~FeedServer();
    FeedServer(const FeedServer &) = delete;
    FeedServer &operator=(const FeedServer &) = delete;

    /// Starts to listen; the server answers once this returns true. On failure returns false;
    /// `whyNot`, if given, gets the reason.
    [[nodiscard]] bool start(QString *whyNot = nullptr);

    /// Closes every connection and ends the thread. Keeps the recorded requests, and the replies
    /// that were set.
    void stop();

    /// The port it listens on; 0 unless started.
    [[nodiscard]] quint16 port() const;

    /// "http://127.0.0.1:PORT" or "https://…", with `path` appended.
    [[nodiscard]] QString address(const QString &path = {}) const;

    /// The base address of the feed service, to which a client adds "?&locale=…".
    [[nodiscard]] QString feedAddress() const;

    /// Sets how every request is answered from now on.
    void setReply(const FeedReply &reply);

    /// Sets how requests for `path` (without query, as on the request line) are answered from now
    /// on. Takes precedence over `setReply`.
    void setReplyForPath(const QByteArray &path, const FeedReply &reply);

    /// Restores the default answers.
    void clearReplies();

    /// The requests whose headers arrived completely, oldest first.
    [[nodiscard]] std::vector<FeedRequest> requests() const;

    void clearRequests();

    /// Blocks until `count` requests have arrived; false on timeout.
    [[nodiscard]] bool waitForRequests(
        std::size_t count, std::chrono::milliseconds timeout = std::chrono::minutes(1)) const;

    /// The number of open connections.
    [[nodiscard]] int openConnections() const;

private:
    class Thread;

    FeedServerOptions _options;
    std::shared_ptr<FeedServerState> _state;
    std::unique_ptr<Thread> _thread;
};

}  // namespace pelorinnews
