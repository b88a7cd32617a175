#pragma once

#include <QProcess>
#include <QString>

#include <functional>

namespace pelorinnews::test {

/// Runs `tests` in its own D-Bus session, with a home folder that the file index accepts (it skips
/// /tmp) and in which "Documents" is indexed recursively. The home folder is removed afterwards.
/// Call it first in `main`; the process runs itself once more inside the session.
int runInTrackerSession(int argc, char *argv[], const std::function<int()> &tests);

/// Whether this process runs inside the session of `runInTrackerSession`: false if no home folder
/// that the file index accepts could be made.
[[nodiscard]] bool isInTrackerSession();

/// The real file index, as a process of the test's own; ends with the object.
class TrackerMiner {
public:
    TrackerMiner() = default;
    ~TrackerMiner() { stop(); }
    TrackerMiner(const TrackerMiner &) = delete;
    TrackerMiner &operator=(const TrackerMiner &) = delete;

    /// Starts the index and waits until it has indexed the existing files. False if it cannot be
    /// started.
    [[nodiscard]] bool start();
    void stop();

private:
    QProcess _process;
};

}  // namespace pelorinnews::test
