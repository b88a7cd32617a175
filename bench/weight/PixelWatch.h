#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace pelorinnews::bench {

/// Reports when a page with a known background is on the screen. Its thread, with its own X11
/// connection, polls the window's pixels about once a millisecond, and so measures what a user
/// sees, not what the program believes to have painted.
class PixelWatch {
public:
    using Clock = std::chrono::steady_clock;
    /// Receives the milliseconds since `start`; absent if the page did not appear within
    /// `timeout`. Called on the watch's own thread.
    using Painted = std::function<void(std::optional<double> milliseconds)>;

    static constexpr std::chrono::seconds timeout{20};

    PixelWatch();
    ~PixelWatch();
    PixelWatch(const PixelWatch &) = delete;
    PixelWatch &operator=(const PixelWatch &) = delete;

    /// Starts to wait until more than a quarter of a row of the window's pixels is `colour`
    /// (0xRRGGBB); the page's text may cover the rest. One watch at a time.
    void begin(std::uint32_t window, std::uint32_t colour, Clock::time_point start,
               Painted painted);

private:
    struct Task {
        std::uint32_t window;
        std::uint32_t colour;
        Clock::time_point start;
        Painted painted;
    };

    void run();

    std::mutex _mutex;
    std::condition_variable _changed;
    std::optional<Task> _waiting;
    bool _stopping = false;
    std::thread _thread;
};

}  // namespace pelorinnews::bench
