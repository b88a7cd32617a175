#pragma once

#include <csignal>

namespace pelorinnews {

/// While one exists, a write beyond the process's limit for the size of a file (RLIMIT_FSIZE) fails
/// in this thread with EFBIG. Without it, the write would also send SIGXFSZ, which ends a host that
/// has no handler for it. Any thread; destroyed on the thread that made it.
class FileSizeSignal {
public:
    FileSizeSignal();
    ~FileSizeSignal();
    FileSizeSignal(const FileSizeSignal &) = delete;
    FileSizeSignal &operator=(const FileSizeSignal &) = delete;

private:
    sigset_t _maskBefore{};
    /// A signal that was pending before is the host's.
    bool _wasPending = false;
};

}  // namespace pelorinnews
