#pragma once

#include "UrlLoader.h"

#include <QtGlobal>

#include <chrono>

namespace pelorinnews {

class NetworkThread;

/// Fetches over the network with libcurl, on a thread of its own that starts with the first
/// request.
///
/// - HTTP/1.1 over TCP or TLS, and regular files through `file:`. Follows at most 50 redirects,
///   never from HTTPS to HTTP and never out of HTTP. Checks certificates against the authorities of
///   the process's default QSslConfiguration, or the system's if that names none. Uses the proxies
///   of the application, the system and the environment, as Qt knows them.
/// - Nothing is kept between requests: no response cache, no cookies, no credentials. When the last
///   request has ended, all connections are closed, and the thread sleeps without timers.
/// - An incomplete body is an error: it is shorter than its Content-Length, lacks its last chunk,
///   extends to the end of a TLS connection that ends without close_notify, or its compressed data
///   is truncated or followed by something else. A reply that breaks the protocol, or whose length
///   is ambiguous, is an error, too.
/// - Errors are those of TransportError, and for a `file:` address also those of FileError.
/// - A body longer than the limit, compressed or not, is an error, so that no service can exhaust
///   the host's memory. So is a transfer that takes longer than its limit, however steadily its
///   bytes arrive.
///
/// Needs an application object: without one, a request ends with `Cancelled`. A loader other than
/// the shared one must be stopped before the application object is destroyed; the shared one
/// stops by itself.
class NetworkUrlLoader final : public UrlLoader {
public:
    /// Bytes; more than any feed has.
    static constexpr qint64 defaultMaxBody = qint64(32) * 1024 * 1024;
    /// How long a transfer may take, with its redirects, but without the time that the computer is
    /// suspended. Then it ends with `TimedOut`, even if bytes still arrive. Not for `file:`
    /// addresses.
    static constexpr std::chrono::hours defaultMaxDuration{1};
    /// How long `stop` waits for the thread at most.
    static constexpr std::chrono::milliseconds stopTimeout{2000};

    /// `beforeLibrariesAreUsed` is called at the first request, and again on the loader's thread
    /// once the libraries that transfers need are loaded. `maxDuration` is positive.
    explicit NetworkUrlLoader(qint64 maxBody = defaultMaxBody,
                              std::function<void()> beforeLibrariesAreUsed = {},
                              std::chrono::milliseconds maxDuration = defaultMaxDuration);
    /// Calls `stop`.
    ~NetworkUrlLoader() override;

    void sendAsynchronousRequest(const QUrl &url, std::chrono::seconds idleTimeout,
                                 QThreadPool *queue, UrlCompletion completion) override;

    /// Cancels the requests in progress and all later ones: each ends with `Cancelled` on its
    /// queue. Joins the thread; if that takes longer than `stopTimeout`, leaves the thread to
    /// end by itself. Idempotent; callable from any thread but the loader's own.
    void stop();

private:
    std::shared_ptr<NetworkThread> _thread;
};

}  // namespace pelorinnews
