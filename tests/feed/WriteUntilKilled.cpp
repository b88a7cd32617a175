// Writes the cache file, the notification registry and the preferences in the folder that is its
// argument, over and over and all at the same time, until it is killed. Prints a line once each has
// been written. `KilledWriterTest` knows what a whole version of each looks like.

#include "WholeVersions.h"

#include <QCoreApplication>

#include <atomic>
#include <cstdio>
#include <thread>

using namespace pelorinnews;
using namespace pelorinnews::test;

int main(int argc, char *argv[]) {
    const QCoreApplication application(argc, argv);
    const QString folder = QCoreApplication::arguments().value(1);
    std::atomic<int> unwritten = 3;
    const auto repeat = [&unwritten](const char *what, const auto &write) {
        for (int version = 0;; ++version) {
            if (!write(version)) {
                std::fprintf(stderr, "version %d of the %s cannot be written\n", version, what);
                std::_Exit(1);
            }
            if (version == 0 && --unwritten == 0) {
                std::puts("written");
                std::fflush(stdout);
            }
        }
    };
    std::thread([&] {
        repeat("cache", [&](int each) { return writeCache(folder, each); });
    }).detach();
    std::thread([&] {
        repeat("registry", [&](int each) { return writeRegistry(folder, each); });
    }).detach();
    UserDefaults preferences(preferencesPath(folder));
    repeat("preferences", [&](int each) { return writePreferences(preferences, each); });
}
