#include "FileSizeSignal.h"

#include <cerrno>
#include <ctime>

namespace pelorinnews {

namespace {

bool isPending() {
    sigset_t pending{};
    return ::sigpending(&pending) == 0 && ::sigismember(&pending, SIGXFSZ) == 1;
}

sigset_t onlyThisSignal() {
    sigset_t signals{};
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGXFSZ);
    return signals;
}

}  // namespace

FileSizeSignal::FileSizeSignal() {
    const sigset_t blocked = onlyThisSignal();
    ::pthread_sigmask(SIG_BLOCK, &blocked, &_maskBefore);
    _wasPending = isPending();
}

FileSizeSignal::~FileSizeSignal() {
    // `errno` still has to tell why the write failed.
    const int error = errno;
    if (!_wasPending && isPending()) {
        const sigset_t taken = onlyThisSignal();
        const timespec now{};
        ::sigtimedwait(&taken, nullptr, &now);
    }
    ::pthread_sigmask(SIG_SETMASK, &_maskBefore, nullptr);
    errno = error;
}

}  // namespace pelorinnews
