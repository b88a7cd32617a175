#include "TimeOfDay.h"

#include <atomic>
#include <ctime>
#include <mutex>
#include <set>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace {

std::atomic<long> ahead = 0;
thread_local int questionsLeft = 0;
thread_local long aheadAfterwards = 0;

std::atomic<long> asleep = 0;
std::mutex alarmMutex;
/// The alarms on the clock that counts sleep, among them some that were closed.
std::set<int> alarms;

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

void letComputerSleep(std::chrono::seconds time) {
    ahead += time.count();
    asleep += time.count();
    const std::lock_guard lock(alarmMutex);
    for (const int alarm : alarms) {
        itimerspec setting{};
        if (::timerfd_gettime(alarm, &setting) != 0 ||
            (setting.it_value.tv_sec == 0 && setting.it_value.tv_nsec == 0))
            continue;
        // What is due rings once, however many times it was missed.
        if (setting.it_value.tv_sec >= time.count())
            setting.it_value.tv_sec -= time.count();
        else
            setting.it_value = {0, 1};
        ::timerfd_settime(alarm, 0, &setting, nullptr);
    }
}

}  // namespace pelorinnews::test

#define PELORIN_REPLACES extern "C" __attribute__((visibility("default")))

PELORIN_REPLACES int clock_gettime(clockid_t clock, timespec *time) noexcept {
    const int result = static_cast<int>(::syscall(SYS_clock_gettime, clock, time));
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE))
        time->tv_sec += now();
    if (result == 0 && clock == CLOCK_BOOTTIME)
        time->tv_sec += asleep;
    return result;
}

PELORIN_REPLACES int timerfd_create(clockid_t clock, int flags) noexcept {
    const int alarm = static_cast<int>(::syscall(SYS_timerfd_create, clock, flags));
    const std::lock_guard lock(alarmMutex);
    alarms.erase(alarm);
    if (alarm >= 0 && clock == CLOCK_BOOTTIME)
        alarms.insert(alarm);
    return alarm;
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
