#include "NetworkRequest.h"

#include "TransportError.h"

#include <QRunnable>

#include <mutex>

namespace pelorinnews {

namespace {

/// Carries an outcome to the queue's thread.
///
/// The pool already synchronizes the hand-over. The mutex does it a second time, in a way that a
/// race detector understands even if Qt is not built for it.
class CompletionTask final : public QRunnable {
public:
    CompletionTask(NetworkRequest completed, NetworkOutcome itsOutcome)
        : _request(std::move(completed)), _outcome(std::move(itsOutcome)) {
        const std::lock_guard handOver(mutex());
    }

    void run() override {
        { const std::lock_guard handOver(mutex()); }
        if (_request.completion)
            _request.completion(_outcome.response, std::move(_outcome.data),
                                std::move(_outcome.connectionError));
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
