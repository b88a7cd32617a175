#pragma once

#include "UrlLoader.h"

namespace pelorinnews {

/// One request on its way through the loader.
struct NetworkRequest {
    QUrl url;
    int idleTimeoutSeconds = 0;
    QThreadPool *queue = nullptr;
    UrlCompletion completion;
};

/// How a request ended, as its completion will hear it.
struct NetworkOutcome {
    std::optional<UrlResponse> response;
    std::optional<QByteArray> data;
    std::optional<Error> connectionError;
};

/// Queues the call of `request`'s completion with `outcome` on its queue.
void completeRequest(NetworkRequest request, NetworkOutcome outcome);

/// `completeRequest` for a request that the loader's end, or its missing application, cuts short.
void cancelRequest(NetworkRequest request);

}  // namespace pelorinnews
