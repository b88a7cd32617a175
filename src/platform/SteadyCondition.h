#pragma once

#include <chrono>
#include <mutex>
#include <pthread.h>

namespace pelorinnews {

/// A condition variable whose timeouts do not depend on the system's time of day: setting the clock
/// neither ends a wait early nor prolongs it. Time for which the computer sleeps does not count.
///
/// `std::condition_variable` can wait on the steady clock, too, but by a function of the C library
/// that race detectors do not understand.
class SteadyCondition {
public:
    SteadyCondition();
    ~SteadyCondition();
    SteadyCondition(const SteadyCondition &) = delete;
    SteadyCondition &operator=(const SteadyCondition &) = delete;

    void notifyOne();
    void notifyAll();

    /// Waits until `isReached`, which is called with the mutex locked, returns true.
    template <class Predicate>
    void wait(std::unique_lock<std::mutex> &lock, Predicate isReached) {
        while (!isReached())
            ::pthread_cond_wait(&_condition, lock.mutex()->native_handle());
    }

    /// As `wait`. Returns false if `isReached` is still false after `timeout`.
    template <class Predicate>
    [[nodiscard]] bool waitFor(std::unique_lock<std::mutex> &lock,
                               std::chrono::milliseconds timeout, Predicate isReached) {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        while (!isReached()) {
            if (!waitUntil(lock, deadline))
                return isReached();
        }
        return true;
    }

private:
    /// False once the deadline has passed.
    bool waitUntil(std::unique_lock<std::mutex> &lock,
                   std::chrono::steady_clock::time_point deadline);

    pthread_cond_t _condition;
};

}  // namespace pelorinnews
