#pragma once

#include <ctime>

namespace pelorinnews::bench {

/// The CPU time of the calling thread, in milliseconds.
inline double threadMilliseconds() {
    timespec spent{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &spent);
    return static_cast<double>(spent.tv_sec) * 1e3 + static_cast<double>(spent.tv_nsec) / 1e6;
}

}  // namespace pelorinnews::bench
