#pragma once

#include "pelorinnews/Error.h"

#include <QByteArray>
#include <QThreadPool>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

namespace pelorinnews {

/// The response to a request. `statusCode` is absent if the scheme has none (`file:`).
struct UrlResponse {
    std::optional<int> statusCode;
};

/// Receives the outcome of one request: any of the three may be absent.
///
/// - With a status of 400 or more, `response` is present even if the transfer failed. `data` then
///   holds the part of the body that arrived, and `connectionError` is present only if the transfer
///   failed.
/// - Below 400, or without a status, a failed transfer has `connectionError` and no `data`, however
///   many bytes arrived.
/// - A complete transfer has `data`, present and empty for an empty body.
using UrlCompletion =
    std::function<void(std::optional<UrlResponse> response, std::optional<QByteArray> data,
                       std::optional<Error> connectionError)>;

/// Fetches URLs. Abstract, so that a test can replace the transport.
class UrlLoader {
public:
    virtual ~UrlLoader() = default;
    UrlLoader(const UrlLoader &) = delete;
    UrlLoader &operator=(const UrlLoader &) = delete;

    /// Sends a GET for `url`, bypasses every local response cache, follows redirects, gives up
    /// after `idleTimeout` without progress (at least one second), and calls `completion`
    /// exactly once on `queue`, never on the caller's stack. Thread-safe; does not need the main
    /// event loop.
    ///
    /// `queue` must live until `completion` has been called; null means the global pool. The
    /// completion is destroyed on `queue`'s thread after its call. If it holds the last reference
    /// to the owner of `queue`, the owner must not destroy the queue there: a pool's destructor
    /// waits for its own threads (deadlock).
    virtual void sendAsynchronousRequest(const QUrl &url, std::chrono::seconds idleTimeout,
                                         QThreadPool *queue, UrlCompletion completion) = 0;

    /// The process-wide loader over the network stack, made on first use. It ends with the
    /// application object; a later call makes a new one.
    static std::shared_ptr<UrlLoader> shared();

protected:
    UrlLoader() = default;
};

}  // namespace pelorinnews
