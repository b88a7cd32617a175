#pragma once

#include <chrono>

namespace pelorinnews::test {

/// Sets the time of day of this process, as far as the C library tells it, ahead of the computer's
/// by `offset`; negative: behind. The program that uses this must include TimeOfDay.cpp in its own
/// sources, where it replaces functions of the C library. Whatever the kernel compares with its own
/// time of day (file dates, absolute timeouts) keeps the computer's time. Thread-safe.
void setTimeOfDayAhead(std::chrono::seconds offset);

/// As `setTimeOfDayAhead`, once the time of day has been asked for `count` more times on this
/// thread.
void setTimeOfDayAheadAfter(int count, std::chrono::seconds offset);

/// What the program sees after the computer was asleep for `time`: the time of day and the time
/// since boot have gone on, its own time has not, and alarms that count sleep are due. Thread-safe.
void letComputerSleep(std::chrono::seconds time);

constexpr std::chrono::hours tenYears{24 * 3652};

}  // namespace pelorinnews::test
