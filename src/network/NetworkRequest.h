#pragma once

#include "UrlLoader.h"

namespace pelorinnews {

/// One request on its way through the loader.
struct NetworkRequest {
    QUrl url;
    std::chrono::seconds idleTimeout{0};
    QThreadPool *queue = nullptr;
    UrlCompletion completion;
};

/// The outcome of a request, as its completion receives it.
struct NetworkOutcome {
    std::optional<UrlResponse> response;
    std::optional<QByteArray> data;
    std::optional<Error> connectionError;
};

/// Queues the call of `request.completion` with `outcome` on `request.queue`.
void completeRequest(NetworkRequest request, NetworkOutcome outcome);

/// Completes `request` as cancelled: the loader was stopped, or there is no application object.
void cancelRequest(NetworkRequest request);

}  // namespace pelorinnews
