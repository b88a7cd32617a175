#include "TimeOfDay.h"

#include <atomic>
#include <ctime>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

std::atomic<long> ahead = 0;
thread_local int questionsLeft = 0;
thread_local long aheadAfterwards = 0;

long now() {
    if (questionsLeft > 0 && --questionsLeft == 0)
        ahead = aheadAfterwards;
    return ahead;
}

}  // namespace

namespace pelorinnews::test {

void setTimeOfDayAhead(std::chrono::seconds offset) {
    ahead = offset.count();
}

void setTimeOfDayAheadAfter(int count, std::chrono::seconds offset) {
    aheadAfterwards = offset.count();
    questionsLeft = count + 1;
}

}  // namespace pelorinnews::test

#define PELORIN_REPLACES extern "C" __attribute__((visibility("default")))

PELORIN_REPLACES int clock_gettime(clockid_t clock, timespec *time) noexcept {
    const int result = static_cast<int>(::syscall(SYS_clock_gettime, clock, time));
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE))
        time->tv_sec += now();
    return result;
}

PELORIN_REPLACES int gettimeofday(timeval *time, void *) noexcept {
    timespec exact{};
    ::clock_gettime(CLOCK_REALTIME, &exact);
    time->tv_sec = exact.tv_sec;
    time->tv_usec = exact.tv_nsec / 1000;
    return 0;
}

PELORIN_REPLACES time_t time(time_t *result) noexcept {
    timespec exact{};
    ::clock_gettime(CLOCK_REALTIME, &exact);
    if (result)
        *result = exact.tv_sec;
    return exact.tv_sec;
}
