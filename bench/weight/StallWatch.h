#pragma once

#include <QObject>

#include <atomic>
#include <chrono>
#include <thread>

namespace pelorinnews::bench {

/// Measures how long the main thread keeps an event waiting. A thread posts an event to it every
/// millisecond, if the one before has arrived.
class StallWatch {
public:
    /// In milliseconds.
    struct Stall {
        /// The longest time that an event waited.
        double clock;
        /// The most CPU time that the main thread spent between two of the events: less than
        /// `clock` where other threads of the computer had the processor.
        double processor;
    };

    StallWatch() = default;
    ~StallWatch();
    StallWatch(const StallWatch &) = delete;
    StallWatch &operator=(const StallWatch &) = delete;

    /// Starts measuring; on the main thread.
    void begin();
    /// Ends measuring; on the main thread.
    Stall end();

private:
    using Clock = std::chrono::steady_clock;

    void post();
    void arrived(Clock::time_point posted);

    QObject _receiver;
    std::thread _thread;
    std::atomic<bool> _running = false;
    std::atomic<bool> _waiting = false;
    Stall _longest{};
    double _processorBefore = 0;
};

}  // namespace pelorinnews::bench
