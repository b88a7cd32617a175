#include "finder/FileWalk.h"
#include "platform/BackgroundTask.h"

#include <QByteArray>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <future>
#include <memory>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

// Measures walks: `pelorin_bench_walk <folder>` walks an existing folder;
// `pelorin_bench_walk --make <folder> <files>` first creates a tree of that many files, 10 in each
// folder. Run as root, it empties the kernel's caches before the first, cold walk.

namespace {

using namespace pelorinnews;
using Clock = std::chrono::steady_clock;

double seconds(Clock::duration duration) {
    return std::chrono::duration<double>(duration).count();
}

double threadCpuSeconds() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

void makeTree(const QByteArray &top, int files) {
    // Create ten files and ten folders in each folder, breadth first.
    std::vector<QByteArray> folders = {top};
    ::mkdir(top.constData(), 0700);
    for (std::size_t next = 0; files > 0; ++next) {
        const QByteArray parent = folders.at(next);
        for (int i = 0; i < 10; ++i, --files) {
            const QByteArray path = parent + "/file-" + QByteArray::number(i) + ".txt";
            const int file = ::open(path.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
            if (file >= 0)
                ::close(file);
            folders.push_back(parent + "/folder-" + QByteArray::number(i));
            if (static_cast<int>(folders.size()) * 10 < files * 2)
                ::mkdir(folders.back().constData(), 0700);
            else
                folders.pop_back();
        }
    }
}

bool emptyCaches() {
    ::sync();
    const int file = ::open("/proc/sys/vm/drop_caches", O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return false;
    const bool done = ::write(file, "3", 1) == 1;
    ::close(file);
    return done;
}

struct Cost {
    double wall = 0;
    double cpu = 0;
    quint64 entries = 0;
};

enum class Priority { Ordinary, Idle };

/// Measures one walk on a thread of its own, as in the search for copies of the host.
Cost walk(const QByteArray &folder, Priority priority) {
    auto cost = std::make_shared<std::promise<Cost>>();
    std::future<Cost> result = cost->get_future();
    const auto task =
        BackgroundTask::start("pelorin-walk", [folder, cost, priority](BackgroundTask &running) {
            if (priority == Priority::Idle)
                running.enterIdleClass();
            FileWalk fileWalk(FileNamePattern::like(QStringLiteral("Pelorin.app")));
            const auto start = Clock::now();
            const double cpuStart = threadCpuSeconds();
            fileWalk.run(folder, running.stopFlag());
            cost->set_value({seconds(Clock::now() - start), threadCpuSeconds() - cpuStart,
                             fileWalk.entryCount()});
        });
    return task ? result.get() : Cost();
}

/// Runs one busy thread for each CPU during `duration`, and returns how many rounds of work they
/// did in total.
quint64 busyRounds(std::chrono::milliseconds duration) {
    std::atomic<quint64> rounds = 0;
    std::vector<std::thread> programs;
    const auto end = Clock::now() + duration;
    for (unsigned i = 0; i < std::thread::hardware_concurrency(); ++i) {
        programs.emplace_back([&rounds, end] {
            quint64 own = 0;
            volatile unsigned work = 0;
            while (Clock::now() < end) {
                for (int step = 0; step < 1000; ++step)
                    work = work + 1;
                ++own;
            }
            rounds += own;
        });
    }
    for (std::thread &program : programs)
        program.join();
    return rounds;
}

void report(const char *what, const Cost &cost) {
    std::printf("%-12s wall %7.3f s   cpu %7.3f s   entries %llu\n", what, cost.wall, cost.cpu,
                static_cast<unsigned long long>(cost.entries));
}

/// Prints how much CPU time walks in the idle scheduling class take away from one busy thread on
/// each CPU, in percent of the time of all CPUs.
void reportLossOfBusyPrograms(const QByteArray &folder) {
    const std::chrono::milliseconds length(3000);
    for (int round = 0; round < 3; ++round) {
        const quint64 alone = busyRounds(length);
        std::atomic<bool> stop = false;
        std::promise<double> taken;
        const auto task = BackgroundTask::start("pelorin-walk", [&](BackgroundTask &running) {
            running.enterIdleClass();
            FileWalk fileWalk(FileNamePattern::like(QStringLiteral("Pelorin.app")));
            while (!stop)
                fileWalk.run(folder, stop);
            taken.set_value(threadCpuSeconds());
        });
        const quint64 beside = busyRounds(length);
        stop = true;
        task->stop();
        const double processors = std::thread::hardware_concurrency();
        std::printf("busy programs: %llu rounds alone, %llu beside walks, which took %.3f %%\n",
                    static_cast<unsigned long long>(alone), static_cast<unsigned long long>(beside),
                    100.0 * taken.get_future().get() / (processors * seconds(length)));
    }
}

}  // namespace

int main(int argc, char *argv[]) {
    const bool makes = argc == 4 && qstrcmp(argv[1], "--make") == 0;
    if (argc != 2 && !makes) {
        std::fprintf(stderr, "usage: %s <folder> | --make <folder> <files>\n", argv[0]);
        return 2;
    }
    const QByteArray folder = argv[makes ? 2 : 1];
    if (makes)
        makeTree(folder, std::atoi(argv[3]));
    if (emptyCaches())
        report("cold", walk(folder, Priority::Ordinary));
    else
        std::printf("cold         not measured: emptying the kernel's caches needs root\n");
    for (int i = 0; i < 3; ++i)
        report("warm", walk(folder, Priority::Ordinary));
    report("warm, idle", walk(folder, Priority::Idle));
    reportLossOfBusyPrograms(folder);
    return 0;
}
