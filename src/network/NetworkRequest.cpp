#include "NetworkRequest.h"

#include "TransportError.h"
#include "platform/LastResort.h"

#include <QRunnable>

#include <mutex>

namespace pelorinnews {

namespace {

/// Calls the completion of a request on a thread of its queue.
///
/// The pool already synchronizes the two threads. The mutex repeats this for race detectors, which
/// do not recognise the synchronization of a Qt that was built without them.
class CompletionTask final : public QRunnable {
public:
    CompletionTask(NetworkRequest completed, NetworkOutcome itsOutcome)
        : _request(std::move(completed)), _outcome(std::move(itsOutcome)) {
        const std::lock_guard handOver(mutex());
    }

    void run() override {
        { const std::lock_guard handOver(mutex()); }
        if (!_request.completion)
            return;
        lastResort([this] {
            _request.completion(_outcome.response, std::move(_outcome.data),
                                std::move(_outcome.connectionError));
        });
    }

private:
    static std::mutex &mutex() {
        static std::mutex handOver;
        return handOver;
    }

    NetworkRequest _request;
    NetworkOutcome _outcome;
};

}  // namespace

void completeRequest(NetworkRequest request, NetworkOutcome outcome) {
    QThreadPool *queue = request.queue ? request.queue : QThreadPool::globalInstance();
    queue->start(new CompletionTask(std::move(request), std::move(outcome)));
}

void cancelRequest(NetworkRequest request) {
    completeRequest(std::move(request), {std::nullopt, std::nullopt,
                                         transportError(TransportError::Cancelled,
                                                        QStringLiteral("The loader was stopped"))});
}

}  // namespace pelorinnews
