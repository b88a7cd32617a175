#pragma once

#include "network/UrlLoader.h"

#include <QThread>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace pelorinnews::test {

/// One request sent through a loader, and the result that its completion callback received. `wait`
/// blocks the calling thread, so the result arrives although that thread runs no event loop.
class LoadedAddress {
public:
    LoadedAddress(UrlLoader &loader, const QUrl &url, QThreadPool *queue,
                  std::chrono::seconds idleTimeout) {
        loader.sendAsynchronousRequest(
            url, idleTimeout, queue,
            [shared = _result](auto response, auto data, auto connectionError) {
                const std::lock_guard lock(shared->mutex);
                ++shared->calls;
                shared->response = std::move(response);
                shared->data = std::move(data);
                shared->connectionError = std::move(connectionError);
                shared->thread = QThread::currentThread();
                shared->came.notify_all();
            });
    }

    /// Waits for the completion callback. False on timeout.
    [[nodiscard]] bool wait(
        std::chrono::milliseconds timeout = std::chrono::milliseconds(testPatience)) {
        const auto deadline = std::chrono::system_clock::now() + timeout;
        std::unique_lock lock(_result->mutex);
        return _result->came.wait_until(lock, deadline, [this] { return _result->calls > 0; });
    }

    // The result that the completion callback received. Read it only after a successful `wait`.
    [[nodiscard]] std::optional<int> status() const {
        const std::lock_guard lock(_result->mutex);
        return _result->response ? _result->response->statusCode : std::nullopt;
    }
    [[nodiscard]] bool hasResponse() const {
        const std::lock_guard lock(_result->mutex);
        return _result->response.has_value();
    }
    [[nodiscard]] std::optional<QByteArray> data() const {
        const std::lock_guard lock(_result->mutex);
        return _result->data;
    }
    [[nodiscard]] std::optional<Error> connectionError() const {
        const std::lock_guard lock(_result->mutex);
        return _result->connectionError;
    }
    [[nodiscard]] QThread *thread() const {
        const std::lock_guard lock(_result->mutex);
        return _result->thread;
    }
    [[nodiscard]] int calls() const {
        const std::lock_guard lock(_result->mutex);
        return _result->calls;
    }

private:
    struct Result {
        std::mutex mutex;
        std::condition_variable came;
        int calls = 0;
        std::optional<UrlResponse> response;
        std::optional<QByteArray> data;
        std::optional<Error> connectionError;
        QThread *thread = nullptr;
    };
    std::shared_ptr<Result> _result = std::make_shared<Result>();
};

}  // namespace pelorinnews::test
