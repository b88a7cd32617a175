#pragma once

#include <pelorinnews/Error.h>

#include <QByteArray>
#include <QThreadPool>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

namespace pelorinnews {

/// What came back for a request. `statusCode` is absent where the scheme has none (`file:`).
struct UrlResponse {
    std::optional<int> statusCode;
};

/// Receives the outcome of one request: any of the three may be absent.
///
/// - A status of 400 or more comes with `response`, whatever became of the transfer; `data` then
///   holds what came of the body, and `connectionError` is present only where the transfer failed.
/// - Below 400, or without a status, a failed transfer has `connectionError` and no `data`,
///   however many bytes had come.
/// - A transfer that came whole has `data`, present and empty for an empty body.
using UrlCompletion =
    std::function<void(std::optional<UrlResponse> response, std::optional<QByteArray> data,
                       std::optional<Error> connectionError)>;

/// Fetches addresses. Abstract so that a test can put another transport in its place.
class UrlLoader {
public:
    virtual ~UrlLoader() = default;
    UrlLoader(const UrlLoader &) = delete;
    UrlLoader &operator=(const UrlLoader &) = delete;

    /// Sends a GET for `url` past every local response cache, follows redirects, gives up after
    /// `idleTimeoutSeconds` without progress (at least one second), and runs `completion` exactly
    /// once on `queue`, never on the caller's stack. Callable from any thread; the main event loop
    /// is not needed.
    ///
    /// `queue` must live until `completion` has been called; null stands for the global pool. The
    /// completion is destroyed on `queue`'s thread after its call, so whoever lets it hold the
    /// last reference to the owner of `queue` must not destroy that queue from there: a pool's
    /// destructor waits for its own threads.
    virtual void sendAsynchronousRequest(const QUrl &url, int idleTimeoutSeconds,
                                         QThreadPool *queue, UrlCompletion completion) = 0;

    /// The process-wide loader over the network stack, made on first use. It ends with the
    /// application object; a later call makes a new one.
    static std::shared_ptr<UrlLoader> shared();

protected:
    UrlLoader() = default;
};

}  // namespace pelorinnews
