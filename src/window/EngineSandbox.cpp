#include "EngineSandbox.h"

#include <QByteArrayList>
#include <QCoreApplication>

#include <cerrno>
#include <sched.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace pelorinnews {

namespace {

constexpr auto withoutSandbox = "--no-sandbox";

// Both are the engine's own switches; the host decides about them, not this module.
bool isToldToDoWithout() {
    return qEnvironmentVariableIsSet("QTWEBENGINE_DISABLE_SANDBOX") ||
           qgetenv("QTWEBENGINE_CHROMIUM_FLAGS").split(' ').contains(withoutSandbox) ||
           QCoreApplication::arguments().contains(QLatin1String(withoutSandbox));
}

// Tries what the engine will do. The child makes two calls to the kernel and ends, which is all
// that the child of a process with threads may do, and its end sends no signal to the host.
bool mayMakeNamespaces() {
    const long child = ::syscall(SYS_clone, CLONE_NEWUSER, nullptr, nullptr, nullptr, 0L);
    if (child == 0)
        ::_exit(::unshare(CLONE_NEWPID) == 0 ? 0 : 1);
    int status = -1;
    while (child > 0 &&
           ::waitpid(static_cast<pid_t>(child), &status, static_cast<int>(__WCLONE)) < 0) {
        if (errno != EINTR)
            return false;
    }
    return child > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

bool canSandboxEngine() {
    return isToldToDoWithout() || (::geteuid() != 0 && mayMakeNamespaces());
}

}  // namespace pelorinnews
