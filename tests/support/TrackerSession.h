#pragma once

#include <QProcess>
#include <QString>

#include <functional>

namespace pelorinnews::test {

/// Runs `tests` in a D-Bus session of its own, with a home folder that the file index accepts (it
/// leaves /tmp out) and in which "Documents" is indexed with all its folders. The home is gone
/// afterwards. To be called first in `main`; the process runs itself once more inside the session.
int runInTrackerSession(int argc, char *argv[], const std::function<int()> &tests);

/// Whether this process runs inside such a session: false where no such home could be made.
[[nodiscard]] bool isInTrackerSession();

/// The file index itself, as a process of the test's own; ends with the object.
class TrackerMiner {
public:
    TrackerMiner() = default;
    ~TrackerMiner() { stop(); }
    TrackerMiner(const TrackerMiner &) = delete;
    TrackerMiner &operator=(const TrackerMiner &) = delete;

    /// True once it has indexed what is there; false where it cannot be started.
    [[nodiscard]] bool start();
    void stop();

private:
    QProcess process;
};

}  // namespace pelorinnews::test
