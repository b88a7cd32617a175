#include "Confinement.h"

#include <csignal>
#include <sys/prctl.h>
#include <sys/resource.h>
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

}  // namespace pelorinnews
