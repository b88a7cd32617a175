#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace pelorinnews::bench {

/// Tells when a page of a known background has come up on the screen, by asking the X server for
/// the window's pixels about once a millisecond, on a thread and a connection of its own: what
/// counts is what a user could see, not what the program believes to have painted.
class PixelWatch {
public:
    using Clock = std::chrono::steady_clock;
    /// Milliseconds since the start that was given, or nothing where the page did not come within
    /// `patience`. Called on the watch's own thread.
    using Painted = std::function<void(std::optional<double> milliseconds)>;

    static constexpr std::chrono::seconds patience{20};

    PixelWatch();
    ~PixelWatch();
    PixelWatch(const PixelWatch &) = delete;
    PixelWatch &operator=(const PixelWatch &) = delete;

    /// Begins to look for a row of the window that is `colour` (0xRRGGBB) for its greater part;
    /// text on the page takes the rest. One watch at a time.
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
