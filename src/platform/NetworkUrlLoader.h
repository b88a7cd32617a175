#pragma once

#include "UrlLoader.h"

#include <QtGlobal>

#include <chrono>

namespace pelorinnews {

class NetworkThread;

/// Fetches over Qt's network stack, on a thread of its own that starts with the first request.
///
/// - HTTP/1.1 over TCP or TLS and `file:`, of which only regular files. Redirects are followed,
///   never from HTTPS to HTTP and never out of HTTP. Certificates are checked as the host's
///   default TLS configuration says.
/// - Nothing is kept between requests: no response cache, no cookies, no credentials. A second
///   after the last request its connections are closed, and the thread sleeps without timers.
/// - A body that ends before its claimed length, or on TLS before its last chunk, is an error. Over
///   plain HTTP, Qt may take the connection's end for the last chunk. Bodies are asked for
///   uncompressed, because a compressed one could not be checked so.
/// - Errors of the transport have the domain "QNetworkReply::NetworkError" and its codes: among
///   them 4 (no progress for too long) and 5 (the loader was shut down).
/// - A body longer than the limit is a transport error, so that no service can exhaust the
///   host's memory.
///
/// Needs an application object: a request while there is none ends with a transport error. A loader
/// other than the shared one is to be shut down before that object goes; the shared one sees to it.
class NetworkUrlLoader final : public UrlLoader {
public:
    static constexpr qint64 defaultLongestBody = qint64(512) * 1024 * 1024;
    /// How long a shutdown waits for the thread at most.
    static constexpr std::chrono::milliseconds shutdownTimeout{2000};

    explicit NetworkUrlLoader(qint64 longestBody = defaultLongestBody);
    /// Shuts down.
    ~NetworkUrlLoader() override;

    void sendAsynchronousRequest(const QUrl &url, int idleTimeoutSeconds, QThreadPool *queue,
                                 UrlCompletion completion) override;

    /// Ends the requests under way, and those sent from now on, with code 5, each on its queue as
    /// ever, and joins the thread. When that takes longer than `shutdownTimeout` the thread is
    /// left to end by itself. Callable from any thread, also twice; not from the loader's own.
    void shutdown();

private:
    std::shared_ptr<NetworkThread> thread;
};

}  // namespace pelorinnews
