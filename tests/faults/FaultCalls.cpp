// A library for LD_PRELOAD that fails one call of a program's system interface, or several in a
// row.
//
// The program decides when it starts: nothing is counted or failed before it calls
// `pelorinCountFaults(true)`, unless PELORIN_FAULT_AT_ONCE is set. From then on the library counts
// the calls of each kind in all threads of the process, and fails call number PELORIN_FAULT_CALL of
// the kind PELORIN_FAULT_KIND, and the PELORIN_FAULT_MORE calls after it, with the error number
// PELORIN_FAULT_ERROR. It writes the first failed call with its stack to the file
// PELORIN_FAULT_REPORT, and keeps the counts in the file PELORIN_FAULT_COUNTS, four bytes for each
// kind, which are right even if the process is killed. Without a kind it only counts.
//
// Not counted: calls on the event loop's own descriptors (eventfd and the like, which the kernel
// does not fail), on the standard streams, and by child processes; and threads that Qt Gui and Qt
// DBus start for themselves. Without one of those, Qt 6.4 waits forever when it paints a large
// area, or crashes when the process exits, whoever uses it. Calls that the C library makes within
// its own functions cannot be intercepted; of those, `fopen`, `opendir` and `fork` are intercepted
// as a whole.

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <new>
#include <pthread.h>
#include <spawn.h>
#include <string_view>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

/// Unscoped, because a kind is an index.
enum Kind {
    Open,
    Read,
    Settings,
    Write,
    Sync,
    Rename,
    Map,
    Socket,
    Connect,
    Thread,
    Spawn,
    Memory,
    Kinds
};

constexpr std::string_view names[Kinds] = {"open",    "read",   "read-settings", "write",
                                           "fsync",   "rename", "mmap",          "socket",
                                           "connect", "thread", "spawn",         "memory"};

/// Allocations of at least this many bytes count.
constexpr std::size_t largeBlock = 1024 * 1024;

std::atomic<bool> counting = false;
using Counts = std::atomic<unsigned>[Kinds];
Counts ownCounts;
/// In the file, if there is one.
Counts *counts = &ownCounts;
/// Guards against counting the calls that the library makes itself.
thread_local bool inside = false;

struct Choice {
    int kind = Kinds;
    unsigned call = 0;
    unsigned more = 0;
    int error = EIO;
    int report = -1;
};
Choice choice;

void put(const char *format, ...) __attribute__((format(printf, 1, 2)));

void put(const char *format, ...) {
    char line[256];
    va_list arguments;
    va_start(arguments, format);
    const int size = std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    ::syscall(SYS_write, choice.report, line, size);
}

unsigned long numberFrom(const char *name) {
    const char *const text = std::getenv(name);
    return text ? std::strtoul(text, nullptr, 10) : 0;
}

/// Writes the stack of a crash behind that of the failed call.
void tellCrash(int number) {
    inside = true;
    put("crashed\n");
    void *stack[60];
    ::backtrace_symbols_fd(stack, ::backtrace(stack, 60), choice.report);
    ::raise(number);
}

__attribute__((constructor)) void prepare() {
    // Loads the unwinder, which allocates memory the first time.
    void *stack[4];
    ::backtrace(stack, 4);
    if (const char *kind = std::getenv("PELORIN_FAULT_KIND")) {
        for (int each = 0; each < Kinds; ++each)
            choice.kind = names[each] == kind ? each : choice.kind;
    }
    choice.call = static_cast<unsigned>(numberFrom("PELORIN_FAULT_CALL"));
    choice.more = static_cast<unsigned>(numberFrom("PELORIN_FAULT_MORE"));
    choice.error = static_cast<int>(numberFrom("PELORIN_FAULT_ERROR"));
    if (const char *report = std::getenv("PELORIN_FAULT_REPORT"))
        choice.report = ::open(report, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (const char *path = std::getenv("PELORIN_FAULT_COUNTS")) {
        const int file = ::open(path, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        void *const shared =
            ::ftruncate(file, sizeof(Counts)) == 0
                ? ::mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0)
                : MAP_FAILED;
        if (shared != MAP_FAILED)
            counts = static_cast<Counts *>(shared);
        ::close(file);
    }
    counting = std::getenv("PELORIN_FAULT_AT_ONCE") != nullptr;
    ::unsetenv("LD_PRELOAD");
    struct sigaction crash {};
    crash.sa_handler = tellCrash;
    crash.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
    for (const int number : {SIGSEGV, SIGBUS, SIGABRT})
        ::sigaction(number, &crash, nullptr);
}

__attribute__((destructor)) void end() {
    counting = false;
}

/// Counts a call. True, with `errno` set, if it is to fail.
bool fails(Kind kind, const char *function) {
    if (!counting || inside)
        return false;
    const unsigned call = ++(*counts)[kind];
    if (kind != choice.kind || call < choice.call || call - choice.call > choice.more)
        return false;
    if (call != choice.call) {
        errno = choice.error;
        return true;
    }
    inside = true;
    char thread[16] = "";
    ::pthread_getname_np(::pthread_self(), thread, sizeof thread);
    put("failed %s in thread %s\n", function, thread);
    void *stack[40];
    ::backtrace_symbols_fd(stack, ::backtrace(stack, 40), choice.report);
    inside = false;
    errno = choice.error;
    return true;
}

/// Whether calls on `file` count.
bool countsOn(int file) {
    struct stat status {};
    return counting && !inside && file > STDERR_FILENO && ::fstat(file, &status) == 0 &&
           (status.st_mode & S_IFMT) != 0;
}

bool isSocket(int file) {
    struct stat status {};
    return ::fstat(file, &status) == 0 && S_ISSOCK(status.st_mode);
}

/// As `fails`, for an operation on `file`. A connection fails as if the peer had ended.
bool failsOn(int file, Kind kind, const char *function) {
    if (!countsOn(file) || !fails(kind, function))
        return false;
    errno = !isSocket(file) ? choice.error : kind == Write ? EPIPE : ECONNRESET;
    return true;
}

/// Whether `file` is the settings file of the scenario. Its reads are a kind of their own, so that
/// a short run can try them all.
bool isSettings(int file) {
    char link[64];
    char path[256];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", file);
    const ssize_t size = counting ? ::readlink(link, path, sizeof path) : -1;
    return size > 0 &&
           std::string_view(path, static_cast<std::size_t>(size)).ends_with("/PelorinFaults.conf");
}

/// Whether Qt Gui or Qt DBus starts a thread for itself: it is the first library on the stack that
/// provides no threads.
bool isThreadOfQt() {
    void *stack[20];
    const int depth = ::backtrace(stack, 20);
    for (int each = 0; each < depth; ++each) {
        Dl_info place{};
        const bool known = ::dladdr(stack[each], &place) != 0 && place.dli_fname;
        const std::string_view library = known ? place.dli_fname : "";
        if (library.find("libQt6Gui") != library.npos || library.find("libQt6DBus") != library.npos)
            return true;
        if (library.find("libQt6Core") == library.npos &&
            library.find("libstdc++") == library.npos &&
            library.find("pelorin_faultcalls") == library.npos)
            return false;
    }
    return false;
}

template <typename Function>
Function *next(const char *name) {
    return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

#define PELORIN_EXPORT extern "C" __attribute__((visibility("default")))
// Calls the function of this name that would have been called without this library.
#define PELORIN_NEXT(name) static auto *const real = next<decltype(::name)>(#name)

PELORIN_EXPORT void pelorinCountFaults(bool count) {
    counting = count;
}

// Opening
// ------------------------------------------------------------------------------------------

#define PELORIN_MODE(flags)                                      \
    mode_t mode = 0;                                             \
    if (((flags)&O_CREAT) || ((flags)&O_TMPFILE) == O_TMPFILE) { \
        va_list arguments;                                       \
        va_start(arguments, flags);                              \
        mode = va_arg(arguments, mode_t);                        \
        va_end(arguments);                                       \
    }

#define PELORIN_OPEN(name)                                        \
    PELORIN_EXPORT int name(const char *path, int flags, ...) {   \
        PELORIN_NEXT(name);                                       \
        PELORIN_MODE(flags)                                       \
        return fails(Open, #name) ? -1 : real(path, flags, mode); \
    }
PELORIN_OPEN(open)
PELORIN_OPEN(open64)

#define PELORIN_OPENAT(name)                                                \
    PELORIN_EXPORT int name(int folder, const char *path, int flags, ...) { \
        PELORIN_NEXT(name);                                                 \
        PELORIN_MODE(flags)                                                 \
        return fails(Open, #name) ? -1 : real(folder, path, flags, mode);   \
    }
PELORIN_OPENAT(openat)
PELORIN_OPENAT(openat64)

PELORIN_EXPORT FILE *fopen(const char *path, const char *mode) {
    PELORIN_NEXT(fopen);
    return fails(Open, "fopen") ? nullptr : real(path, mode);
}
PELORIN_EXPORT FILE *fopen64(const char *path, const char *mode) {
    PELORIN_NEXT(fopen64);
    return fails(Open, "fopen64") ? nullptr : real(path, mode);
}
PELORIN_EXPORT DIR *opendir(const char *path) {
    PELORIN_NEXT(opendir);
    return fails(Open, "opendir") ? nullptr : real(path);
}

// Reading and writing
// ------------------------------------------------------------------------------

PELORIN_EXPORT ssize_t read(int file, void *bytes, size_t size) {
    PELORIN_NEXT(read);
    if (failsOn(file, Read, "read") || (isSettings(file) && failsOn(file, Settings, "read")))
        return -1;
    return real(file, bytes, size);
}
PELORIN_EXPORT ssize_t pread64(int file, void *bytes, size_t size, off64_t offset) {
    PELORIN_NEXT(pread64);
    return failsOn(file, Read, "pread64") ? -1 : real(file, bytes, size, offset);
}
PELORIN_EXPORT ssize_t recv(int file, void *bytes, size_t size, int flags) {
    PELORIN_NEXT(recv);
    return failsOn(file, Read, "recv") ? -1 : real(file, bytes, size, flags);
}
PELORIN_EXPORT ssize_t recvmsg(int file, msghdr *message, int flags) {
    PELORIN_NEXT(recvmsg);
    return failsOn(file, Read, "recvmsg") ? -1 : real(file, message, flags);
}
PELORIN_EXPORT ssize_t write(int file, const void *bytes, size_t size) {
    PELORIN_NEXT(write);
    return failsOn(file, Write, "write") ? -1 : real(file, bytes, size);
}
PELORIN_EXPORT ssize_t pwrite64(int file, const void *bytes, size_t size, off64_t offset) {
    PELORIN_NEXT(pwrite64);
    return failsOn(file, Write, "pwrite64") ? -1 : real(file, bytes, size, offset);
}
PELORIN_EXPORT ssize_t writev(int file, const iovec *pieces, int count) {
    PELORIN_NEXT(writev);
    return failsOn(file, Write, "writev") ? -1 : real(file, pieces, count);
}
PELORIN_EXPORT ssize_t send(int file, const void *bytes, size_t size, int flags) {
    PELORIN_NEXT(send);
    return failsOn(file, Write, "send") ? -1 : real(file, bytes, size, flags);
}
PELORIN_EXPORT ssize_t sendmsg(int file, const msghdr *message, int flags) {
    PELORIN_NEXT(sendmsg);
    return failsOn(file, Write, "sendmsg") ? -1 : real(file, message, flags);
}
PELORIN_EXPORT int posix_fallocate64(int file, off64_t offset, off64_t size) {
    PELORIN_NEXT(posix_fallocate64);
    return failsOn(file, Write, "posix_fallocate64") ? choice.error : real(file, offset, size);
}
PELORIN_EXPORT int posix_fallocate(int file, off_t offset, off_t size) {
    PELORIN_NEXT(posix_fallocate);
    return failsOn(file, Write, "posix_fallocate") ? choice.error : real(file, offset, size);
}
PELORIN_EXPORT int ftruncate64(int file, off64_t size) noexcept {
    PELORIN_NEXT(ftruncate64);
    return failsOn(file, Write, "ftruncate64") ? -1 : real(file, size);
}
PELORIN_EXPORT int ftruncate(int file, off_t size) noexcept {
    PELORIN_NEXT(ftruncate);
    return failsOn(file, Write, "ftruncate") ? -1 : real(file, size);
}
PELORIN_EXPORT int fsync(int file) {
    PELORIN_NEXT(fsync);
    return fails(Sync, "fsync") ? -1 : real(file);
}
PELORIN_EXPORT int fdatasync(int file) {
    PELORIN_NEXT(fdatasync);
    return fails(Sync, "fdatasync") ? -1 : real(file);
}

// Names of files
// -----------------------------------------------------------------------------------

PELORIN_EXPORT int rename(const char *from, const char *to) noexcept {
    PELORIN_NEXT(rename);
    return fails(Rename, "rename") ? -1 : real(from, to);
}
PELORIN_EXPORT int renameat2(int fromFolder, const char *from, int toFolder, const char *to,
                             unsigned flags) noexcept {
    PELORIN_NEXT(renameat2);
    return fails(Rename, "renameat2") ? -1 : real(fromFolder, from, toFolder, to, flags);
}
PELORIN_EXPORT int link(const char *from, const char *to) noexcept {
    PELORIN_NEXT(link);
    return fails(Rename, "link") ? -1 : real(from, to);
}
PELORIN_EXPORT int linkat(int fromFolder, const char *from, int toFolder, const char *to,
                          int flags) noexcept {
    PELORIN_NEXT(linkat);
    return fails(Rename, "linkat") ? -1 : real(fromFolder, from, toFolder, to, flags);
}

// Memory
// -------------------------------------------------------------------------------------------

PELORIN_EXPORT void *mmap(void *address, size_t size, int protection, int flags, int file,
                          off_t offset) noexcept {
    PELORIN_NEXT(mmap);
    return fails(Map, "mmap") ? MAP_FAILED : real(address, size, protection, flags, file, offset);
}
PELORIN_EXPORT void *mmap64(void *address, size_t size, int protection, int flags, int file,
                            off64_t offset) noexcept {
    PELORIN_NEXT(mmap64);
    return fails(Map, "mmap64") ? MAP_FAILED : real(address, size, protection, flags, file, offset);
}

// The C library's own names of these functions: looking the functions up would allocate memory.
extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
}

PELORIN_EXPORT void *malloc(size_t size) noexcept {
    return size >= largeBlock && fails(Memory, "malloc") ? nullptr : __libc_malloc(size);
}
PELORIN_EXPORT void *calloc(size_t count, size_t size) noexcept {
    return size != 0 && count >= largeBlock / size && count * size >= largeBlock &&
                   fails(Memory, "calloc")
               ? nullptr
               : __libc_calloc(count, size);
}
PELORIN_EXPORT void *realloc(void *block, size_t size) noexcept {
    return size >= largeBlock && fails(Memory, "realloc") ? nullptr : __libc_realloc(block, size);
}

// Connections, threads, processes
// ------------------------------------------------------------------

PELORIN_EXPORT int socket(int domain, int type, int protocol) noexcept {
    PELORIN_NEXT(socket);
    return fails(Socket, "socket") ? -1 : real(domain, type, protocol);
}
PELORIN_EXPORT int socketpair(int domain, int type, int protocol, int *pair) noexcept {
    PELORIN_NEXT(socketpair);
    return fails(Socket, "socketpair") ? -1 : real(domain, type, protocol, pair);
}
PELORIN_EXPORT int connect(int file, const sockaddr *address, socklen_t size) {
    PELORIN_NEXT(connect);
    return fails(Connect, "connect") ? -1 : real(file, address, size);
}
PELORIN_EXPORT int pthread_create(pthread_t *thread, const pthread_attr_t *attributes,
                                  void *(*start)(void *), void *argument) noexcept {
    PELORIN_NEXT(pthread_create);
    return counting && !isThreadOfQt() && fails(Thread, "pthread_create")
               ? choice.error
               : real(thread, attributes, start, argument);
}
PELORIN_EXPORT int posix_spawn(pid_t *child, const char *path,
                               const posix_spawn_file_actions_t *actions,
                               const posix_spawnattr_t *attributes, char *const arguments[],
                               char *const environment[]) {
    PELORIN_NEXT(posix_spawn);
    return fails(Spawn, "posix_spawn")
               ? choice.error
               : real(child, path, actions, attributes, arguments, environment);
}
PELORIN_EXPORT int posix_spawnp(pid_t *child, const char *path,
                                const posix_spawn_file_actions_t *actions,
                                const posix_spawnattr_t *attributes, char *const arguments[],
                                char *const environment[]) {
    PELORIN_NEXT(posix_spawnp);
    return fails(Spawn, "posix_spawnp")
               ? choice.error
               : real(child, path, actions, attributes, arguments, environment);
}
PELORIN_EXPORT pid_t fork() noexcept {
    PELORIN_NEXT(fork);
    return fails(Spawn, "fork") ? -1 : real();
}
