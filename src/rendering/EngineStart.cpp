#include "EngineStart.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QLibraryInfo>

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <memory>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace pelorinnews {

namespace {

constexpr auto flagsVariable = "QTWEBENGINE_CHROMIUM_FLAGS";

// Whether the host or the user disables the engine's sandbox with the engine's own switches.
// The engine reads its switches from `flagsVariable` if that is set, otherwise from the command
// line after `--webEngineArgs`.
bool isToldToDoWithoutSandbox() {
    if (qEnvironmentVariableIsSet("QTWEBENGINE_DISABLE_SANDBOX"))
        return true;
    QStringList switches;
    if (qEnvironmentVariableIsSet(flagsVariable)) {
        switches = qEnvironmentVariable(flagsVariable).split(QLatin1Char(' '));
    } else {
        const QStringList arguments = QCoreApplication::arguments();
        const qsizetype mark = arguments.indexOf(QLatin1String("--webEngineArgs"));
        if (mark >= 0)
            switches = arguments.mid(mark + 1);
    }
    return switches.contains(QLatin1String("--no-sandbox"));
}

// Looks for one of the engine's files where the engine does, in the same order.
bool isFound(const char *file, const char *variable, const QString &folder) {
    if (qEnvironmentVariableIsSet(variable)) {
        const QFileInfo stated(qEnvironmentVariable(variable));
        return stated.isDir()
                   ? QFileInfo::exists(stated.filePath() + QLatin1Char('/') + QLatin1String(file))
                   : stated.exists();
    }
    const QStringList folders = {folder, QCoreApplication::applicationDirPath()};
    return std::any_of(folders.begin(), folders.end(), [file](const QString &each) {
        return QFileInfo::exists(each + QLatin1Char('/') + QLatin1String(file));
    });
}

bool hasItsFiles() {
    return isFound("QtWebEngineProcess", "QTWEBENGINEPROCESS_PATH",
                   QLibraryInfo::path(QLibraryInfo::LibraryExecutablesPath)) &&
           isFound("qtwebengine_resources.pak", "QTWEBENGINE_RESOURCES_PATH",
                   QLibraryInfo::path(QLibraryInfo::DataPath) + QStringLiteral("/resources"));
}

// Creates namespaces in a child process, as the engine's sandbox will. The child only makes two
// system calls, because the child of a process with several threads may not do much more. The host
// gets no signal when the child ends.
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

// The engine ends the process when it runs out of file descriptors. With one page shown, it uses 40
// in this process and 28 in each of its helper processes, which have the same limit. This number
// leaves room for more pages.
constexpr rlim_t descriptorsOfEngine = 128;

bool hasDescriptorsLeft() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return false;
    if (limit.rlim_cur == RLIM_INFINITY)
        return true;
    const std::unique_ptr<DIR, int (*)(DIR *)> open(::opendir("/proc/self/fd"), &::closedir);
    if (!open)
        return false;
    rlim_t used = 0;
    while (const dirent *entry = ::readdir(open.get()))
        used += entry->d_name[0] == '.' ? 0 : 1;
    return limit.rlim_cur >= used + descriptorsOfEngine;
}

}  // namespace

bool canStartEngine() {
    return hasItsFiles() && hasDescriptorsLeft() &&
           (isToldToDoWithoutSandbox() || (::geteuid() != 0 && mayMakeNamespaces()));
}

}  // namespace pelorinnews
