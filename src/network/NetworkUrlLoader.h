#pragma once

#include "UrlLoader.h"

#include <QtGlobal>

#include <chrono>

namespace pelorinnews {

class NetworkThread;

/// Fetches over the network with libcurl, on a thread of its own that starts with the first
/// request.
///
/// - HTTP/1.1 over TCP or TLS, and `file:`, of which only regular files. Redirects are followed, at
///   most 50, never from HTTPS to HTTP and never out of HTTP. Certificates are checked against the
///   authorities of the process's default QSslConfiguration, or the system's where it names none.
///   Proxies are those of the application, the system and the environment, as Qt knows them.
/// - Nothing is kept between requests: no response cache, no cookies, no credentials. When the last
///   request has ended, all connections are closed, and the thread sleeps without timers.
/// - A body that does not come whole is an error: one shorter than its length, chunks without the
///   last one, on TLS a connection that ends without saying so, compressed data that is cut or has
///   something behind it. So is an answer that breaks the protocol, or whose length is ambiguous.
/// - Errors are those of TransportError, and of a `file:` address those of FileError.
/// - A body longer than the limit, compressed or not, is an error, so that no service can exhaust
///   the host's memory.
///
/// Needs an application object: a request while there is none ends with `Cancelled`. A loader other
/// than the shared one is to be shut down before that object goes; the shared one sees to it.
class NetworkUrlLoader final : public UrlLoader {
public:
    /// More than any feed has.
    static constexpr qint64 defaultLongestBody = qint64(32) * 1024 * 1024;
    /// How long a shutdown waits for the thread at most.
    static constexpr std::chrono::milliseconds shutdownTimeout{2000};

    /// `beforeLibrariesAreUsed` is called at the first request, and once more on the loader's
    /// thread when the libraries that transfers need have been loaded.
    explicit NetworkUrlLoader(qint64 longestBody = defaultLongestBody,
                              std::function<void()> beforeLibrariesAreUsed = {});
    /// Shuts down.
    ~NetworkUrlLoader() override;

    void sendAsynchronousRequest(const QUrl &url, int idleTimeoutSeconds, QThreadPool *queue,
                                 UrlCompletion completion) override;

    /// Ends the requests under way, and those sent from now on, with `Cancelled`, each on its queue
    /// as ever, and joins the thread. When that takes longer than `shutdownTimeout` the thread is
    /// left to end by itself. Callable from any thread, also twice; not from the loader's own.
    void shutdown();

private:
    std::shared_ptr<NetworkThread> thread;
};

}  // namespace pelorinnews
