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

/// Receives the outcome of one request: any of the three may be absent. `data` is absent where no
/// bytes came *and* the transfer failed; an empty body that came whole is present and empty.
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
    /// `idleTimeoutSeconds` without progress, and runs `completion` exactly once on `queue`, never
    /// on the caller's stack. Callable from any thread; the main event loop is not needed.
    virtual void sendAsynchronousRequest(const QUrl &url, int idleTimeoutSeconds,
                                         QThreadPool *queue, UrlCompletion completion) = 0;

    /// The process-wide loader over the network stack, made on first use.
    static std::shared_ptr<UrlLoader> shared();

protected:
    UrlLoader() = default;
};

}  // namespace pelorinnews
