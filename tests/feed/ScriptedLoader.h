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
        int idleTimeoutSeconds;
    };

    ScriptedLoader() = default;

    /// A response of `status` with `body`.
    [[nodiscard]] static Outcome answer(int status, const QByteArray &body) {
        return {UrlResponse{status}, body, std::nullopt};
    }

    void setOutcome(Outcome newOutcome) {
        const std::lock_guard lock(mutex);
        outcome = std::move(newOutcome);
    }

    /// Holds all answers until `release`.
    void hold() {
        const std::lock_guard lock(mutex);
        holding = true;
    }

    /// Answers what was held, with the current outcome.
    void release() {
        std::vector<std::pair<QThreadPool *, UrlCompletion>> answered;
        Outcome now;
        {
            const std::lock_guard lock(mutex);
            holding = false;
            answered.swap(held);
            now = outcome;
        }
        for (auto &[queue, completion] : answered)
            answerOn(queue, std::move(completion), now);
    }

    void sendAsynchronousRequest(const QUrl &url, int idleTimeoutSeconds, QThreadPool *queue,
                                 UrlCompletion completion) override {
        Outcome now;
        {
            const std::lock_guard lock(mutex);
            sent.append({url, idleTimeoutSeconds});
            if (holding) {
                held.emplace_back(queue, std::move(completion));
                return;
            }
            now = outcome;
        }
        answerOn(queue, std::move(completion), now);
    }

    [[nodiscard]] QList<Request> requests() const {
        const std::lock_guard lock(mutex);
        return sent;
    }

private:
    struct Answer {
        UrlCompletion completion;
        Outcome outcome;
    };

    /// The answer waits here rather than in the queue, behind a lock that race detectors see.
    void answerOn(QThreadPool *queue, UrlCompletion completion, const Outcome &what) {
        {
            const std::lock_guard lock(mutex);
            answers.push_back({std::move(completion), what});
        }
        queue->start([this] {
            Answer next;
            {
                const std::lock_guard lock(mutex);
                next = std::move(answers.front());
                answers.pop_front();
            }
            next.completion(next.outcome.response, next.outcome.data, next.outcome.connectionError);
        });
    }

    mutable std::mutex mutex;
    Outcome outcome;
    bool holding = false;
    std::vector<std::pair<QThreadPool *, UrlCompletion>> held;
    QList<Request> sent;
    std::deque<Answer> answers;
};

}  // namespace pelorinnews::test
