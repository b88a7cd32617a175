#pragma once

#include "network/UrlLoader.h"

#include <QList>

#include <deque>
#include <mutex>
#include <utility>
#include <vector>

namespace pelorinnews::test {

/// A transport with scripted answers, for outcomes and timings that a real transport cannot be made
/// to produce.
class ScriptedLoader : public UrlLoader {
public:
    struct Outcome {
        std::optional<UrlResponse> response = std::nullopt;
        std::optional<QByteArray> data = std::nullopt;
        std::optional<Error> connectionError = std::nullopt;
    };
    struct Request {
        QUrl url;
        std::chrono::seconds idleTimeout;
    };

    ScriptedLoader() = default;

    /// A response of `status` with `body`.
    [[nodiscard]] static Outcome answer(int status, const QByteArray &body) {
        return {UrlResponse{status}, body, std::nullopt};
    }

    void setOutcome(Outcome newOutcome) {
        const std::lock_guard lock(_mutex);
        _outcome = std::move(newOutcome);
    }

    /// Holds all answers until `release`.
    void hold() {
        const std::lock_guard lock(_mutex);
        _holding = true;
    }

    /// Answers the held requests with the current outcome.
    void release() {
        std::vector<std::pair<QThreadPool *, UrlCompletion>> answered;
        Outcome now;
        {
            const std::lock_guard lock(_mutex);
            _holding = false;
            answered.swap(_held);
            now = _outcome;
        }
        for (auto &[queue, completion] : answered)
            answerOn(queue, std::move(completion), now);
    }

    void sendAsynchronousRequest(const QUrl &url, std::chrono::seconds idleTimeout,
                                 QThreadPool *queue, UrlCompletion completion) override {
        Outcome now;
        {
            const std::lock_guard lock(_mutex);
            _sent.append({url, idleTimeout});
            if (_holding) {
                _held.emplace_back(queue, std::move(completion));
                return;
            }
            now = _outcome;
        }
        answerOn(queue, std::move(completion), now);
    }

    [[nodiscard]] QList<Request> requests() const {
        const std::lock_guard lock(_mutex);
        return _sent;
    }

private:
    struct Answer {
        UrlCompletion completion;
        Outcome outcome;
    };

    /// Passes the answer to the task through `_answers`, under `_mutex`, instead of capturing it:
    /// race detectors do not see the synchronisation inside Qt's thread pool.
    void answerOn(QThreadPool *queue, UrlCompletion completion, const Outcome &what) {
        {
            const std::lock_guard lock(_mutex);
            _answers.push_back({std::move(completion), what});
        }
        queue->start([this] {
            Answer next;
            {
                const std::lock_guard lock(_mutex);
                next = std::move(_answers.front());
                _answers.pop_front();
            }
            next.completion(next.outcome.response, next.outcome.data, next.outcome.connectionError);
        });
    }

    mutable std::mutex _mutex;
    Outcome _outcome;
    bool _holding = false;
    std::vector<std::pair<QThreadPool *, UrlCompletion>> _held;
    QList<Request> _sent;
    std::deque<Answer> _answers;
};

}  // namespace pelorinnews::test
