#include "Confinement.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sched.h>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace pelorinnews {

bool confine(qint32 parent) {
    const rlimit none{0, 0};
    // PR_SET_PDEATHSIG kills this process when the thread that started it ends. That is the host's
    // main thread, which ends with the host. The connection ends then, too, but an engine that
    // hangs does not notice.
    return ::prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && ::getppid() == parent &&
           ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && ::setrlimit(RLIMIT_CORE, &none) == 0;
}

bool canIsolatePages() {
    // Some systems allow the namespace, but give no rights in it: then mapping the user fails.
    const std::string user = std::to_string(::getuid());
    const std::string map = user + ' ' + user + " 1";
    const long child = ::syscall(SYS_clone, CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWNET | SIGCHLD,
                                 nullptr, nullptr, 0, 0);
    if (child == 0) {
        const int file = ::open("/proc/self/uid_map", O_WRONLY | O_CLOEXEC);
        const bool isMapped =
            file >= 0 && ::write(file, map.data(), map.size()) == static_cast<ssize_t>(map.size());
        ::_exit(isMapped ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    int status = 0;
    return child > 0 && ::waitpid(static_cast<pid_t>(child), &status, 0) == child &&
           WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
}

}  // namespace pelorinnews
