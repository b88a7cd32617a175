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
    /// other `.xml` file is served by its own name. Empty: no feeds, every feed is a 404.
    QString feedFolder;
    /// The certificate chain and its private key, PEM files. Both empty: HTTP, else HTTPS.
    QString certificateFile;
    QString privateKeyFile;
    /// 0 takes any free port.
    quint16 port = 0;
};

/// A feed service on the loopback interface for development and tests.
///
/// It answers `/RSS_Feed/PelorinNews.php` by the query's `locale` and `type`, and `/NAME.xml`
/// with that file of the folder. How it answers can be changed by `FeedReply` for all requests,
/// for one path, or by the request itself: a path that begins with `/+OPTIONS/` is answered as
/// `FeedReply::parse` reads OPTIONS, and stands for what follows (`/+status=503/feed.xml`).
///
/// The sockets live on a thread of the server's own, so it answers while the caller's thread is
/// blocked. Every member may be called from any thread, but `start` and `stop` from one at a time.
class FeedServer {
public:
    explicit FeedServer(FeedServerOptions options = {});
    /// Stops.
    ~FeedServer();
    FeedServer(const FeedServer &) = delete;
    FeedServer &operator=(const FeedServer &) = delete;

    /// Begins to listen; it answers from the moment this returns true. On failure gives false and
    /// says why in `whyNot`, where given.
    [[nodiscard]] bool start(QString *whyNot = nullptr);

    /// Cuts every connection and ends the thread. What was recorded and set stays.
    void stop();

    /// The port it listens on; 0 unless started.
    [[nodiscard]] quint16 port() const;

    /// "http://127.0.0.1:PORT" or "https://…", with `path` appended.
    [[nodiscard]] QString address(const QString &path = {}) const;

    /// The base address of the feed service, to which a client adds "?&locale=…".
    [[nodiscard]] QString feedAddress() const;

    /// How every request is answered from now on.
    void setReply(const FeedReply &reply);

    /// How requests for `path` (without query, as on the request line) are answered from now on.
    void setReplyForPath(const QByteArray &path, const FeedReply &reply);

    /// Back to the plain answers.
    void clearReplies();

    /// The requests whose heads came whole, oldest first.
    [[nodiscard]] std::vector<FeedRequest> requests() const;

    void clearRequests();

    /// Waits until `count` requests have come; false when they have not within `timeout`.
    [[nodiscard]] bool waitForRequests(
        std::size_t count, std::chrono::milliseconds timeout = std::chrono::seconds(10)) const;

    /// The connections now open.
    [[nodiscard]] int openConnections() const;

private:
    class Thread;

    FeedServerOptions options;
    std::shared_ptr<FeedServerState> state;
    std::unique_ptr<Thread> thread;
};

}  // namespace pelorinnews
