#include "SteadyCondition.h"

#include <cerrno>
#include <ctime>

namespace pelorinnews {

SteadyCondition::SteadyCondition() {
    pthread_condattr_t attributes;
    ::pthread_condattr_init(&attributes);
    // The clock of `std::chrono::steady_clock`.
    ::pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    ::pthread_cond_init(&_condition, &attributes);
    ::pthread_condattr_destroy(&attributes);
}

SteadyCondition::~SteadyCondition() {
    ::pthread_cond_destroy(&_condition);
}

void SteadyCondition::notifyOne() {
    ::pthread_cond_signal(&_condition);
}

void SteadyCondition::notifyAll() {
    ::pthread_cond_broadcast(&_condition);
}

bool SteadyCondition::waitUntil(std::unique_lock<std::mutex> &lock,
                                std::chrono::steady_clock::time_point deadline) {
    const std::chrono::nanoseconds sinceStart = deadline.time_since_epoch();
    const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceStart);
    const timespec time{.tv_sec = seconds.count(), .tv_nsec = (sinceStart - seconds).count()};
    return ::pthread_cond_timedwait(&_condition, lock.mutex()->native_handle(), &time) != ETIMEDOUT;
}

}  // namespace pelorinnews
